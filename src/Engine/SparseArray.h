#pragma once
// Maps 16-bit keys (object or component ids) to densely packed values, so that managers and the
// renderer can walk their live entries without holes. Removal moves another entry into the hole:
// dense indices are not stable, keys are.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "Gfx/Assert.h"

namespace ArdentisEngine::Data {

// The key to dense index map and the accessors both arrays below share.
template<class T> class SparseArrayBase {
public:
    static constexpr std::uint16_t Invalid = 0xffff;

    // Number of keys the array can hold (keys lie in [0, capacity)).
    std::size_t capacity() const { return _toIndex.size(); }
    std::size_t size() const { return _keys.size(); }
    bool isEmpty() const { return _keys.empty(); }

    // Grows the key range; never shrinks.
    void reserve(std::size_t capacity) {
        AE_ASSERT(capacity <= Invalid);
        if(capacity > _toIndex.size()) _toIndex.resize(capacity, Invalid);
    }

    bool contains(std::size_t key) const { return key < _toIndex.size() && _toIndex[key] != Invalid; }
    // Dense index of `key`, or Invalid when absent.
    std::uint16_t toIndex(std::size_t key) const { return key < _toIndex.size() ? _toIndex[key] : Invalid; }
    std::uint16_t key(std::size_t index) const { AE_ASSERT(index < _keys.size()); return _keys[index]; }

    T& operator[](std::size_t key) { AE_ASSERT(contains(key)); return _values[_toIndex[key]]; }
    const T& operator[](std::size_t key) const { AE_ASSERT(contains(key)); return _values[_toIndex[key]]; }
    T& atIndex(std::size_t index) { AE_ASSERT(index < _values.size()); return _values[index]; }
    const T& atIndex(std::size_t index) const { AE_ASSERT(index < _values.size()); return _values[index]; }

    std::span<T> values() { return _values; }
    std::span<const T> values() const { return _values; }
    std::span<const std::uint16_t> keys() const { return _keys; }

protected:
    // Drops every entry, keeping the capacity.
    void clearEntries() {
        for(std::uint16_t k: _keys) _toIndex[k] = Invalid;
        _keys.clear();
        _values.clear();
    }
    // Moves the entry at dense index `from` to `to`, overwriting what was there.
    void move(std::size_t from, std::size_t to) {
        _keys[to] = _keys[from];
        _values[to] = std::move(_values[from]);
        _toIndex[_keys[to]] = std::uint16_t(to);
    }

    std::vector<std::uint16_t> _toIndex;
    std::vector<std::uint16_t> _keys;
    std::vector<T> _values;
};

template<class T> class SparseArray: public SparseArrayBase<T> {
    using Base = SparseArrayBase<T>;
    using Base::_toIndex;
    using Base::_keys;
    using Base::_values;

public:
    using Base::Invalid;

    explicit SparseArray(std::size_t capacity = 0) { this->reserve(capacity); }

    T& add(std::uint16_t key, T value = {}) {
        AE_ASSERT(key < _toIndex.size() && _toIndex[key] == Invalid);
        _toIndex[key] = std::uint16_t(_keys.size());
        _keys.push_back(key);
        _values.push_back(std::move(value));
        return _values.back();
    }
    void remove(std::uint16_t key) {
        AE_ASSERT(this->contains(key));
        const std::uint16_t index = _toIndex[key];
        const std::size_t last = _keys.size() - 1;
        if(index != last) this->move(last, index);
        _keys.pop_back();
        _values.pop_back();
        _toIndex[key] = Invalid;
    }
    void clear() { this->clearEntries(); }
};

// Like SparseArray, but the dense values are kept ordered by group so that every group is one
// contiguous range (the renderer draws one group per batch). Adding to or leaving a group moves at
// most one entry per later group.
template<class T> class SparseArrayGrouped: public SparseArrayBase<T> {
    using Base = SparseArrayBase<T>;
    using Base::_toIndex;
    using Base::_keys;
    using Base::_values;
    using Base::move;

public:
    using Base::Invalid;
    using Base::contains;

    explicit SparseArrayGrouped(std::size_t capacity = 0, std::size_t groupsCount = 1) {
        this->reserve(capacity);
        setGroupsCount(groupsCount);
    }

    std::size_t groupsCount() const { return _starts.size() - 1; }
    // Adds empty groups at the end; groups only shrink when the trailing ones are empty.
    void setGroupsCount(std::size_t count) {
        AE_ASSERT(count >= 1);
        if(count + 1 > _starts.size()) {
            _starts.resize(count + 1, std::uint32_t(_keys.size()));
        } else {
            for(std::size_t g = count; g + 1 < _starts.size(); ++g) AE_ASSERT(groupSize(g) == 0);
            _starts.resize(count + 1);
        }
    }
    // Dense index of the entry `offset` places into `group`.
    std::size_t groupStart(std::size_t group, std::size_t offset = 0) const {
        AE_ASSERT(group < groupsCount());
        return _starts[group] + offset;
    }
    std::size_t groupEnd(std::size_t group) const { AE_ASSERT(group < groupsCount()); return _starts[group + 1]; }
    std::size_t groupSize(std::size_t group) const { return groupEnd(group) - groupStart(group); }
    std::size_t groupOf(std::size_t key) const {
        const std::size_t index = _toIndex[key];
        AE_ASSERT(index != Invalid);
        std::size_t g = 0;
        while(_starts[g + 1] <= index) ++g;
        return g;
    }

    T& add(std::uint16_t key, std::size_t group, T value = {}) {
        AE_ASSERT(key < _toIndex.size() && _toIndex[key] == Invalid);
        if(group >= groupsCount()) setGroupsCount(group + 1);
        _keys.emplace_back();
        _values.emplace_back();
        // Open a hole at the end of `group`: each later group hands its first entry to its end.
        std::size_t hole = _keys.size() - 1;
        for(std::size_t g = groupsCount() - 1; g > group; --g) {
            const std::size_t first = _starts[g];
            if(first != hole) move(first, hole);
            hole = first;
            ++_starts[g];
        }
        ++_starts[groupsCount()];
        _keys[hole] = key;
        _values[hole] = std::move(value);
        _toIndex[key] = std::uint16_t(hole);
        return _values[hole];
    }
    void remove(std::uint16_t key) {
        AE_ASSERT(contains(key));
        std::size_t hole = _toIndex[key];
        const std::size_t group = groupOf(key);
        _toIndex[key] = Invalid;
        // Fill the hole from the group's last entry, then pull each later group's last entry to
        // its first place, moving the hole to the end.
        for(std::size_t g = group; g < groupsCount(); ++g) {
            const std::size_t last = _starts[g + 1] - 1;
            if(last != hole) move(last, hole);
            hole = last;
            --_starts[g + 1];
        }
        _keys.pop_back();
        _values.pop_back();
    }
    // Moves an entry to another group, keeping its value.
    void setGroup(std::uint16_t key, std::size_t group) {
        if(contains(key) && groupOf(key) == group) return;
        T value = std::move((*this)[key]);
        remove(key);
        add(key, group, std::move(value));
    }
    void clear() {
        this->clearEntries();
        for(auto& s: _starts) s = 0;
    }

private:
    std::vector<std::uint32_t> _starts{0, 0};  // groupsCount + 1 boundaries
};

}
