#include "Engine/NameManager.h"

#include <algorithm>

namespace ArdentisEngine::Data {

void NameManager::allocateAdditional(std::size_t count, std::size_t averageLength) {
    _capacity += count;
    _entries.reserve(_capacity);
    _pool.reserve(_pool.size() + count*averageLength);
}

void NameManager::setSize(std::size_t size) {
    if(size > _capacity) allocateAdditional(size - _capacity, 16);
    _entries.resize(size);
}

std::string_view NameManager::nameOf(Id object) const {
    if(object >= _entries.size()) return {};
    const Entry& e = _entries[object];
    return std::string_view{_pool}.substr(e.offset, e.length);
}

void NameManager::setName(Id object, std::string_view name) {
    if(object >= _entries.size()) setSize(std::size_t(object) + 1);
    Entry& e = _entries[object];
    if(name.size() <= e.length) {
        // Reuse the old place; the tail becomes garbage.
        std::copy(name.begin(), name.end(), _pool.begin() + e.offset);
        _garbage += e.length - name.size();
        e.length = std::uint32_t(name.size());
        return;
    }
    _garbage += e.length;
    // Compact once most of the pool is dead, so renaming in a loop stays bounded in memory.
    if(_garbage > 4096 && _garbage*2 > _pool.size()) {
        std::string compacted;
        compacted.reserve(_pool.size() - _garbage + name.size());
        for(Entry& other: _entries) {
            if(&other == &e) continue;
            const std::uint32_t offset = std::uint32_t(compacted.size());
            compacted.append(_pool, other.offset, other.length);
            other.offset = offset;
        }
        _pool = std::move(compacted);
        _garbage = 0;
    }
    e.offset = std::uint32_t(_pool.size());
    e.length = std::uint32_t(name.size());
    _pool.append(name);
}

Id NameManager::find(std::string_view name) const {
    for(std::size_t i = 0; i != _entries.size(); ++i) if(nameOf(Id(i)) == name && !name.empty()) return Id(i);
    return InvalidId;
}

void NameManager::clear() {
    _entries.clear();
    _pool.clear();
    _garbage = 0;
}

void IdManager::setName(Id object, std::uint32_t value) {
    if(object >= _values.size()) _values.resize(std::size_t(object) + 1, 0);
    _values[object] = value;
}

Id IdManager::find(std::uint32_t value) const {
    const auto it = std::find(_values.begin(), _values.end(), value);
    return it == _values.end() ? InvalidId : Id(it - _values.begin());
}

}
