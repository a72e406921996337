#pragma once
// Object names of a scene, one entry per object id. The table is sized by its owner (usually to the
// scene graph's capacity); names live in one character pool so that thousands of objects do not
// mean thousands of allocations.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Engine/Id.h"

namespace ArdentisEngine::Data {

class NameManager {
public:
    explicit NameManager(std::size_t capacity = 0) { allocateAdditional(capacity, 16); }

    std::size_t capacity() const { return _capacity; }
    // Number of entries in use (names of ids at or past it read as empty).
    std::size_t size() const { return _entries.size(); }
    void setSize(std::size_t size);
    // Room for `count` more entries with about `averageLength` characters each.
    void allocateAdditional(std::size_t count, std::size_t averageLength);

    // Empty for unnamed objects and for ids past size().
    std::string_view nameOf(Id object) const;
    // Grows size() to cover the object when needed.
    void setName(Id object, std::string_view name);
    // First object with exactly this name, or InvalidId.
    Id find(std::string_view name) const;
    void clear();

private:
    struct Entry { std::uint32_t offset = 0, length = 0; };
    std::vector<Entry> _entries;
    std::string _pool;
    std::size_t _capacity = 0;
    std::size_t _garbage = 0;  // pool characters no entry refers to any more
};

// Maps scene objects to numbers owned by someone else: the first map of a scene holds, per object,
// the index of the project object (or imported-file object) it was made from; the second holds a
// 16-bit link id (0 = none). Sized by the owner like the name table.
class IdManager {
public:
    explicit IdManager(std::size_t capacity = 0) { reserve(capacity); }

    std::size_t capacity() const { return _values.capacity(); }
    std::size_t size() const { return _values.size(); }
    void reserve(std::size_t capacity) { _values.reserve(capacity); }
    // New entries are 0.
    void setSize(std::size_t size) { _values.resize(size, 0); }

    // 0 for ids past size().
    std::uint32_t nameOf(Id object) const { return object < _values.size() ? _values[object] : 0; }
    // Grows size() to cover the object when needed.
    void setName(Id object, std::uint32_t value);
    // First object mapped to `value`, or InvalidId.
    Id find(std::uint32_t value) const;
    void clear() { _values.clear(); }

private:
    std::vector<std::uint32_t> _values;
};

}
