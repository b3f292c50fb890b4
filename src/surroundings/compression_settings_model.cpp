#include "surroundings/compression_settings_model.h"

#include "common/as_size.h"
#include "driver/settings/accepted_input.h"
#include "driver/settings/settings_io.h"
#include "surroundings/compression_tools.h"

#include <algorithm>

namespace surroundings {

namespace {

bool ContainsWord(std::string_view text, std::string_view lowerCaseWord)
{
    const auto same = [](char c, char lower) {
        return (c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c) == lower;
    };
    return std::search(text.begin(), text.end(), lowerCaseWord.begin(), lowerCaseWord.end(), same) !=
           text.end();
}

/// For a host that forgets its codec settings: OK becomes the button that stores them.
void OfferToStoreAndClose(ControlPort& controls)
{
    controls.Hide(CONTROL_SAVE_DEFAULT);
    controls.WidenToLeft(CONTROL_OK);
    controls.SetText(CONTROL_OK, "Save as default and Close");
    AddTools(controls, {&kAfterburnerTool, 1});
}

} // namespace

bool IsAfterburnerPath(std::string_view hostPath)
{
    return ContainsWord(hostPath, "msi") && ContainsWord(hostPath, "afterburner");
}

CompressionSettingsModel::CompressionSettingsModel(std::vector<settings::CodecVariant> rows,
                                                   CompressionScope scope, std::string_view hostPath)
    : Rows(std::move(rows)), Afterburner(IsAfterburnerPath(hostPath)),
      ClientMode(scope == CompressionScope::Client)
{
    std::erase_if(Rows, settings::IsGeneric);
}

void CompressionSettingsModel::Init(ControlPort& controls)
{
    for (size_t i = 0; i < Rows.size(); ++i)
        controls.AddItem(CONTROL_VARIANT, Rows[i].Description, static_cast<uint32_t>(i));
    controls.Select(CONTROL_VARIANT, static_cast<int>(Selected));
    controls.SetDroppedWidth(CONTROL_VARIANT, 220);
    controls.SetDroppedWidth(CONTROL_INPUTS, 300);
    controls.SetDroppedWidth(CONTROL_MATRIX, 200);
    controls.SetDroppedWidth(CONTROL_METHOD, 220);
    if (ClientMode) {
        controls.Enable(CONTROL_VARIANT, false);
        controls.SetTitle(Row().Description + " (64 bit) compression settings");
    }
    ShowVersion(controls);
    InitThreads(controls);

    AddTools(controls, kCompressionTools);
    for (const ToolRow& tool : kCompressionTools)
        if (tool.id == CONTROL_THREADS) // this edit is disabled while its number is automatic
            controls.AddTool(tool.id, tool.text, ToolArea::Rectangle);
    if (ClientMode)
        AddTools(controls, {&kSaveDefaultTool, 1});
    else
        controls.Hide(CONTROL_SAVE_DEFAULT); // the global dialog stores all

    FillControls(controls);
    if (Afterburner)
        OfferToStoreAndClose(controls);
}

DialogEnd CompressionSettingsModel::Command(ControlPort& controls, int id, int notification)
{
    switch (id) {
    case CONTROL_OK:
        CollectControls(controls);
        if (Afterburner)
            settings::SaveVariantSettings(Row());
        return DialogEnd::Ok;
    case CONTROL_CANCEL:
        return DialogEnd::Cancel;
    case CONTROL_AUTO_THREADS:
        LockThreads(controls);
        break;
    case CONTROL_VARIANT:
        if (notification == kSelectionChanged) {
            CollectControls(controls);
            Selected = AsSize(controls.Selection(CONTROL_VARIANT));
            FillControls(controls);
        }
        break;
    case CONTROL_SAVE_DEFAULT:
        CollectControls(controls);
        settings::SaveVariantSettings(Row());
        break;
    default:
        break;
    }
    return DialogEnd::Stay;
}

void CompressionSettingsModel::FillControls(ControlPort& controls)
{
    const EncodeSettings& encode = Row().Encode;
    uint32_t accepted = 0;
    if (const settings::VariantTraits* traits = settings::FindVariantTraits(Row().Id)) {
        accepted = traits->acceptedInput;
        HasColorControls = traits->hasColorControls;
        HasInterpolate = traits->hasInterpolate;
    }
    FillInputs(controls, accepted);
    FillMatrix(controls);
    controls.SetCheck(CONTROL_INTERLACED, encode.Interlaced != 0);
    controls.SetCheck(CONTROL_FULL_RANGE, HasColorControls && encode.FullRangeYUV != 0);
    controls.Enable(CONTROL_FULL_RANGE, HasColorControls);
    controls.SetCheck(CONTROL_INTERPOLATE, HasInterpolate && encode.InterpolateDownscale != 0);
    controls.Enable(CONTROL_INTERPOLATE, HasInterpolate);
    FillMethods(controls);
    FillThreads(controls, encode.NumEncodeThreads, encode.AutoEncodeThreads);
}

void CompressionSettingsModel::FillInputs(ControlPort& controls, uint32_t accepted)
{
    controls.ClearItems(CONTROL_INPUTS);
    controls.AddItem(CONTROL_INPUTS, "All supported", settings::kAllInputs);
    for (const settings::InputCategory& category : settings::kInputCategories)
        if (accepted & settings::CategoryBit(category.category))
            controls.AddItem(CONTROL_INPUTS, settings::InputLabel(category),
                             settings::CategoryBit(category.category));

    controls.Select(CONTROL_INPUTS, 0);
    const uint32_t wanted = Row().Encode.InputColorSpace;
    if (wanted == settings::kAllInputs)
        return;
    // A mask of several categories shows as the first of them.
    for (int i = 1; i < controls.ItemCount(CONTROL_INPUTS); ++i)
        if (controls.ItemData(CONTROL_INPUTS, i) & wanted)
            return controls.Select(CONTROL_INPUTS, i);
}

void CompressionSettingsModel::FillMatrix(ControlPort& controls)
{
    controls.Enable(CONTROL_MATRIX_LABEL, HasColorControls);
    controls.Enable(CONTROL_MATRIX, HasColorControls);
    controls.ClearItems(CONTROL_MATRIX);
    if (!HasColorControls)
        return;
    controls.AddItem(CONTROL_MATRIX, "Rec.601 (SD video standard, older)", 1);
    controls.AddItem(CONTROL_MATRIX, "Rec.709 (HD video standard, newer)", 2);
    SelectData(controls, CONTROL_MATRIX, Row().Encode.ColorMatrix);
}

void CompressionSettingsModel::FillMethods(ControlPort& controls)
{
    controls.ClearItems(CONTROL_METHOD);
    controls.AddItem(CONTROL_METHOD, "Gradient (faster decode)",
                     static_cast<uint32_t>(PredictMethod::Gradient));
    controls.AddItem(CONTROL_METHOD, "Median (fast encode - good compression)",
                     static_cast<uint32_t>(PredictMethod::Median));
    controls.AddItem(CONTROL_METHOD, "Dynamic (max. compression)",
                     static_cast<uint32_t>(PredictMethod::Dynamic));
    controls.Select(CONTROL_METHOD, 2); // what has no item, as Left, shows as Dynamic
    SelectData(controls, CONTROL_METHOD, Row().Encode.CompMethod);
}

void CompressionSettingsModel::CollectControls(const ControlPort& controls)
{
    EncodeSettings& encode = Row().Encode;
    CollectThreads(controls, encode.NumEncodeThreads, encode.AutoEncodeThreads);
    encode.CompMethod = SelectedData(controls, CONTROL_METHOD);
    encode.InputColorSpace = SelectedData(controls, CONTROL_INPUTS);
    encode.Interlaced = CheckedWord(controls, CONTROL_INTERLACED);
    // What the variant does not show keeps its stored value.
    if (HasColorControls) {
        encode.ColorMatrix = SelectedData(controls, CONTROL_MATRIX);
        encode.FullRangeYUV = CheckedWord(controls, CONTROL_FULL_RANGE);
    }
    if (HasInterpolate)
        encode.InterpolateDownscale = CheckedWord(controls, CONTROL_INTERPOLATE);
    settings::ClampEncodeSettings(encode);
}

} // namespace surroundings
