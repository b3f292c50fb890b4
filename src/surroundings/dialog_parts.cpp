#include "surroundings/dialog_parts.h"

#include "common/thread_limit.h"
#include "platform/processor_count.h"
#include "surroundings/resource_ids.h"

namespace surroundings {

void AddTools(ControlPort& controls, std::span<const ToolRow> tools)
{
    for (const ToolRow& tool : tools)
        controls.AddTool(tool.id, tool.text);
}

void ShowVersion(ControlPort& controls)
{
    controls.SetText(CONTROL_VERSION, "Version: 2.4.1 (Standard)");
}

void InitThreads(ControlPort& controls)
{
    controls.AddUpDown(CONTROL_THREADS, 1, kMaxThreads);
}

void FillThreads(ControlPort& controls, uint32_t count, uint32_t automatic)
{
    controls.SetNumber(CONTROL_THREADS, count);
    controls.SetCheck(CONTROL_AUTO_THREADS, automatic != 0);
    LockThreads(controls);
}

void LockThreads(ControlPort& controls)
{
    const bool automatic = controls.GetCheck(CONTROL_AUTO_THREADS);
    controls.Enable(CONTROL_THREADS, !automatic);
    if (automatic)
        controls.SetNumber(CONTROL_THREADS, static_cast<uint32_t>(platform::ProcessorCount()));
}

void CollectThreads(const ControlPort& controls, uint32_t& count, uint32_t& automatic)
{
    count = controls.GetNumber(CONTROL_THREADS);
    automatic = CheckedWord(controls, CONTROL_AUTO_THREADS);
}

} // namespace surroundings
