#pragma once
// Stable 16-bit slots for records: the scene's runtime arrays (meshes, images, materials, ...)
// are indexed by slot, and a record keeps its slot for as long as it exists so that components
// and texture ids compiled earlier stay valid. Slot 0 is "none"; freed slots are reused lowest
// first.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

#include "Editor/Project/ResourceId.h"

namespace ArdentisEngine {

class SlotTable {
public:
    static constexpr std::uint16_t None = 0;

    // The record's slot, or None.
    std::uint16_t find(ResourceId id) const {
        const auto it = _slots.find(id.value);
        return it == _slots.end() ? None : it->second;
    }
    // The record's slot, made when it has none. None when all 65535 slots are taken.
    std::uint16_t assign(ResourceId id) {
        if(const std::uint16_t slot = find(id)) return slot;
        std::uint16_t slot;
        if(!_free.empty()) {
            slot = _free.back();
            _free.pop_back();
        } else {
            if(_end == 0xffff) return None;
            slot = ++_end;
        }
        _slots.emplace(id.value, slot);
        return slot;
    }
    // Frees the slot of every record for which keep() is false; returns the freed slots.
    std::vector<std::uint16_t> releaseUnless(const std::function<bool(ResourceId)>& keep) {
        std::vector<std::uint16_t> freed;
        for(auto it = _slots.begin(); it != _slots.end();) {
            if(keep(ResourceId{it->first})) { ++it; continue; }
            freed.push_back(it->second);
            it = _slots.erase(it);
        }
        for(std::uint16_t slot: freed) _free.push_back(slot);
        // Lowest first: kept sorted high to low, popped from the back.
        std::sort(_free.begin(), _free.end(), std::greater<>{});
        return freed;
    }
    // One past the highest slot ever handed out: the size the runtime array needs.
    std::size_t size() const { return std::size_t(_end) + 1; }
    const std::map<std::uint32_t, std::uint16_t>& slots() const { return _slots; }
    void clear() { _slots.clear(); _free.clear(); _end = 0; }

private:
    std::map<std::uint32_t, std::uint16_t> _slots;  // record id -> slot
    std::vector<std::uint16_t> _free;
    std::uint16_t _end = 0;
};

}
