/// From what the user typed to one slot of the registry. Pure.
#pragma once

#include "shm/RegistryMonitor.h"
#include "tools/common/Text.h"

#include <charconv>
#include <string>
#include <string_view>
#include <vector>

namespace registry {

/// The slot that was meant, or null and one line saying why not.
struct Resolved {
    const shm::SlotSnapshot* slot = nullptr;
    std::string error;
};

namespace detail {

/// The whole text as a slot number; -1 when it is none.
inline int slotNumber(std::string_view text) {
    int number = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() ? number : -1;
}

inline Resolved slotAt(const std::vector<shm::SlotSnapshot>& slots, int number) {
    if (number < 0 || number >= static_cast<int>(slots.size()))
        return {nullptr, "slots go from #0 to #" + std::to_string(slots.size() - 1)};
    const shm::SlotSnapshot& slot = slots[static_cast<std::size_t>(number)];
    if (!slot.active)
        return {nullptr, "slot #" + std::to_string(number) + " holds no instance"};
    return {&slot, ""};
}

} // namespace detail

/// "#3" is slot 3; other text the one active instance of exactly that name, or, when nobody has
/// it and it is a number, that slot (a shell takes an unquoted # for a comment). The result
/// points into slots, all slots in slot order.
inline Resolved resolve(const std::vector<shm::SlotSnapshot>& slots, const std::string& text) {
    if (text.starts_with('#'))
        return detail::slotAt(slots, detail::slotNumber(std::string_view(text).substr(1)));
    const shm::SlotSnapshot* named = nullptr;
    std::string candidates;
    int count = 0;
    for (const shm::SlotSnapshot& slot : slots) {
        if (!slot.active || text != slot.name)
            continue;
        named = &slot;
        candidates += " #" + std::to_string(slot.index);
        ++count;
    }
    if (count == 1)
        return {named, ""};
    if (count > 1)
        return {nullptr, "several instances are named \"" + terminal::printable(text) +
                             "\", choose a slot:" + candidates};
    if (const int number = detail::slotNumber(text); number >= 0)
        return detail::slotAt(slots, number);
    return {nullptr, "no instance is named \"" + terminal::printable(text) + "\""};
}

} // namespace registry
