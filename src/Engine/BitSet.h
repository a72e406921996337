#pragma once
// Bit sets over 64-bit words. A view does not own its words; BitSet owns and can grow them.
// Bits past size() inside the last word are kept zero so that counting and searching can work
// word by word without masking.
#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <vector>

#include "Gfx/Assert.h"

namespace ArdentisEngine {

template<class Word> class BasicBitSetView;
// Mutable view: set/clear work on the viewed words.
using BitSetView = BasicBitSetView<std::uint64_t>;
using ConstBitSetView = BasicBitSetView<const std::uint64_t>;

template<class Word> class BasicBitSetView {
public:
    static constexpr std::size_t WordBits = 64;

    // Visits the indices of set bits in increasing order.
    class Iterator {
    public:
        using value_type = std::size_t;
        using difference_type = std::ptrdiff_t;
        Iterator() = default;
        Iterator(const Word* words, std::size_t size, std::size_t index):
            _words{words}, _size{size}, _index{index} {}
        std::size_t operator*() const { return _index; }
        Iterator& operator++() {
            _index = std::min(nextSet(_words, (_size + WordBits - 1)/WordBits, _index + 1), _size);
            return *this;
        }
        Iterator operator++(int) { Iterator i = *this; ++*this; return i; }
        bool operator==(const Iterator& o) const { return _index == o._index; }
    private:
        const Word* _words{};
        std::size_t _size{};
        std::size_t _index{};
    };

    constexpr BasicBitSetView() = default;
    constexpr BasicBitSetView(Word* words, std::size_t size): _words{words}, _size{size} {}
    // A mutable view converts to a const one, never the other way.
    template<class Other, class = std::enable_if_t<std::is_const_v<Word> && !std::is_const_v<Other>>>
    constexpr BasicBitSetView(const BasicBitSetView<Other>& o): _words{o.words()}, _size{o.size()} {}

    std::size_t size() const { return _size; }
    bool isEmpty() const { return _size == 0; }
    std::size_t wordCount() const { return (_size + WordBits - 1)/WordBits; }
    Word* words() const { return _words; }

    bool isSet(std::size_t i) const {
        AE_ASSERT(i < _size);
        return (_words[i/WordBits] >> (i%WordBits)) & 1u;
    }
    // Out-of-range indices read as clear: selections are sized lazily, so a new object may be
    // past the end of an older set.
    bool isSetSafe(std::size_t i) const { return i < _size && isSet(i); }

    void set(std::size_t i) const {
        AE_ASSERT(i < _size);
        _words[i/WordBits] |= std::uint64_t{1} << (i%WordBits);
    }
    void set(std::size_t i, bool value) const { value ? set(i) : clear(i); }
    void clear(std::size_t i) const {
        AE_ASSERT(i < _size);
        _words[i/WordBits] &= ~(std::uint64_t{1} << (i%WordBits));
    }
    void setAll() const {
        const std::size_t n = wordCount();
        for(std::size_t w = 0; w != n; ++w) _words[w] = ~std::uint64_t{0};
        trimTail();
    }
    void clearAll() const {
        const std::size_t n = wordCount();
        for(std::size_t w = 0; w != n; ++w) _words[w] = 0;
    }

    // True when no bit is set (also for an empty set).
    bool isClear() const {
        const std::size_t n = wordCount();
        for(std::size_t w = 0; w != n; ++w) if(_words[w]) return false;
        return true;
    }
    std::size_t countSet() const {
        std::size_t count = 0;
        const std::size_t n = wordCount();
        for(std::size_t w = 0; w != n; ++w) count += std::popcount(std::uint64_t(_words[w]));
        return count;
    }
    std::optional<std::size_t> findFirstSet() const { return findNextSet(0); }
    // First set bit at or after `from`.
    std::optional<std::size_t> findNextSet(std::size_t from) const {
        const std::size_t i = nextSet(_words, wordCount(), from);
        if(i >= _size) return std::nullopt;
        return i;
    }

    Iterator begin() const { return {_words, _size, std::min(nextSet(_words, wordCount(), 0), _size)}; }
    Iterator end() const { return {_words, _size, _size}; }

protected:
    // Index of the first set bit at or after `from`, or wordCount*64 when there is none.
    static std::size_t nextSet(const Word* words, std::size_t wordCount, std::size_t from) {
        std::size_t w = from/WordBits;
        if(w >= wordCount) return wordCount*WordBits;
        std::uint64_t bits = words[w] & (~std::uint64_t{0} << (from%WordBits));
        while(!bits) {
            if(++w == wordCount) return wordCount*WordBits;
            bits = words[w];
        }
        return w*WordBits + std::countr_zero(bits);
    }
    void trimTail() const {
        if(_size%WordBits) _words[_size/WordBits] &= (std::uint64_t{1} << (_size%WordBits)) - 1;
    }

    Word* _words{};
    std::size_t _size{};
};

// Owning, growable bit set. Copies own their words; a view taken from it is invalidated by resize.
class BitSet: public BitSetView {
public:
    BitSet() = default;
    explicit BitSet(std::size_t size, bool value = false) { resize(size, value); }
    BitSet(const BitSet& o): BitSetView{}, _storage{o._storage} { rebind(o._size); }
    BitSet(BitSet&& o) noexcept: BitSetView{}, _storage{std::move(o._storage)} {
        rebind(o._size);
        o.rebind(0);
    }
    BitSet& operator=(const BitSet& o) {
        if(this != &o) { _storage = o._storage; rebind(o._size); }
        return *this;
    }
    BitSet& operator=(BitSet&& o) noexcept {
        if(this != &o) {
            _storage = std::move(o._storage);
            rebind(o._size);
            o._storage.clear();
            o.rebind(0);
        }
        return *this;
    }

    // Keeps the bits below min(old, new) size; new bits take `value`.
    void resize(std::size_t size, bool value = false) {
        const std::size_t oldSize = _size;
        _storage.resize((size + WordBits - 1)/WordBits, value ? ~std::uint64_t{0} : 0);
        rebind(size);
        if(value && size > oldSize && oldSize%WordBits) {
            // The old last word had its tail kept zero; fill it now.
            _words[oldSize/WordBits] |= ~std::uint64_t{0} << (oldSize%WordBits);
        }
        trimTail();
    }

    BitSetView view() { return *this; }
    ConstBitSetView view() const { return ConstBitSetView{_words, _size}; }
    operator ConstBitSetView() const { return view(); }

    bool operator==(const BitSet& o) const { return _size == o._size && _storage == o._storage; }

private:
    void rebind(std::size_t size) {
        _words = _storage.data();
        _size = size;
    }
    std::vector<std::uint64_t> _storage;
};

}
