// What several dialogs have in common, apart from any window.
#pragma once

#include "surroundings/control_port.h"

#include <span>

namespace surroundings {

/// A control's tip.
struct ToolRow {
    int id;
    const char* text;
};

void AddTools(ControlPort& controls, std::span<const ToolRow> tools);

void ShowVersion(ControlPort& controls);

// The number of threads: an edit with arrows, and the box that leaves the number to the codec.

void InitThreads(ControlPort& controls);
void FillThreads(ControlPort& controls, uint32_t count, uint32_t automatic);
/// While automatic is checked the edit is locked and shows what automatic gives.
void LockThreads(ControlPort& controls);
void CollectThreads(const ControlPort& controls, uint32_t& count, uint32_t& automatic);

inline uint32_t CheckedWord(const ControlPort& controls, int id)
{
    return controls.GetCheck(id) ? 1 : 0;
}

} // namespace surroundings
