// From an output port to the object that it belongs to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>

#include "ExecBlock.h"

namespace tessel {

/// A note in a `Port<T>` that has no source, in the place where an input has it: an address, told from a source by its
/// lowest bit. `source` answers null as it does without the note, and `connect` overwrites it; other threads may look
/// meanwhile. `pull` does not tell the two apart, so nobody may sample through a port that holds a note.
class PortNote {
public:
    /// What a port answers of which `place` holds the source or a note.
    static ExecPort* source_at(ExecPort* const& place) noexcept;
    /// Notes an even address, unless there is a note already. False when there is no place for it: the port has a
    /// source, or is of a host's own class.
    static bool set(ExecPort& port, const void* address) noexcept;
    /// The address noted, null when there is none.
    static const void* get(const ExecPort& port) noexcept;
    static void clear(ExecPort& port) noexcept;
};

/// Finds the entry of a list that a port was added for. No table is looked into: the ports hold the address of their
/// entry, so that finding one touches no memory but the port, which has to be touched anyway. Only ports that cannot
/// hold a note are in a table.
///
/// Every port that was added must be removed, and nothing be sampled before.
template <class Entry>
class PortIndex {
public:
    /// Of a list that stays where it is.
    explicit PortIndex(std::span<const Entry> list) noexcept : list_(list) {}
    PortIndex(const PortIndex&) = delete;
    PortIndex& operator=(const PortIndex&) = delete;

    /// Of several entries with one port, the first counts.
    void add(ExecPort& port, const Entry& entry) {
        static_assert(alignof(Entry) > 1);
        if (!PortNote::set(port, &entry)) others_.emplace(&port, &entry);
    }
    void remove(ExecPort& port) noexcept { PortNote::clear(port); }
    /// Null for a port that was not added.
    const Entry* find(const ExecPort& port) const noexcept {
        if (const void* noted = PortNote::get(port); noted != nullptr) {
            // the ports of a model that another thread makes ready to run hold addresses in another list
            const auto offset =
                reinterpret_cast<std::uintptr_t>(noted) - reinterpret_cast<std::uintptr_t>(list_.data());
            return offset < list_.size_bytes() ? static_cast<const Entry*>(noted) : nullptr;
        }
        if (others_.empty()) return nullptr;
        const auto found = others_.find(&port);
        return found != others_.end() ? found->second : nullptr;
    }

private:
    std::span<const Entry> list_;
    std::unordered_map<const ExecPort*, const Entry*> others_;
};

}  // namespace tessel
