#include "cli/FilterCatalog.h"

#include "Proc/Settings/SettingsAVFilter.h"
#include "Proc/Settings/SettingsColorspaceConverter.h"
#include "Proc/Settings/SettingsDeinterlace.h"
#include "Proc/Settings/SettingsEffectStabilizer.h"
#include "Proc/Settings/SettingsFade.h"
#include "Proc/Settings/SettingsFilterAudioFormatter.h"
#include "Proc/Settings/SettingsFilterAudioVolume.h"
#include "Proc/Settings/SettingsFilterBlurTransparentBorder.h"
#include "Proc/Settings/SettingsFilterFrameRate.h"
#include "Proc/Settings/SettingsFilterResample.h"
#include "Proc/Settings/SettingsResizer.h"
#include "cli/FilterValue.h"
#include "cli/UserError.h"
#include "effects/IOneInputEffect.h"
#include "ffhost/EffectStream.h"
#include "host/ImplNames.h"

#include <algorithm>
#include <fmt/format.h>
#include <numeric>

namespace Tessor::Cli
{

using namespace Proc;

namespace
{

using Form = CatalogRow::Form;

const std::string impl_key = "impl", start_key = "start", duration_key = "duration";

template <class S>
CatalogRow Row(const std::string& name, MediaType kind, Form form, const std::string& summary,
               std::vector<CatalogRow::Renamed> renamed = {})
{
    return {name, kind, form, summary, std::make_shared<S>(), std::move(renamed)};
}

std::vector<CatalogRow> MakeCatalog()
{
    constexpr MediaType video = MediaType::Video, audio = MediaType::Audio;
    return {
        Row<SettingsResizer>("scale", video, Form::Filter, "brings pictures to a size"),
        Row<SettingsFilterFrameRate>(
            "fps", video, Form::Filter, "brings pictures to a frame rate",
            {{"mode", impl_key, {{"grid", SettingsFilterFrameRate::IMPL_DEFAULT}, {"adjust", SettingsFilterFrameRate::IMPL_ADJUST}}}}),
        Row<SettingsDeinterlace>("deinterlace", video, Form::Filter, "makes whole pictures of two fields each"),
        Row<SettingsFilterBlurTransparentBorder>("borderblur", video, Form::Filter,
                                                 "colours transparent pixels like the visible ones near them"),
        Row<SettingsEffectStabilizer>("stabilize", video, Form::Effect, "takes small movements of the camera out"),
        Row<SettingsColorspaceConverter>("format", video, Form::Effect, "brings pictures to one of some pixel formats"),
        Row<SettingsFade>("fade", video, Form::TimedEffect, "fades from or to black"),
        Row<SettingsAVFilter>("avfilter", video, Form::Effect, "runs a chain of FFmpeg's own filters"),
        Row<SettingsFilterAudioVolume>("volume", audio, Form::Filter, "scales the sound, or levels it"),
        Row<SettingsFilterResample>("resample", audio, Form::Filter,
                                    "brings the sound to a rate, sample format and channel layout"),
        Row<SettingsFilterAudioFormatter>("blocks", audio, Form::Filter, "cuts the sound into blocks of one length"),
        Row<SettingsFade>("fade", audio, Form::TimedEffect, "fades from or to silence"),
        Row<SettingsAVFilter>("avfilter", audio, Form::Effect, "runs a chain of FFmpeg's own filters"),
    };
}

/// Letters to add, take away or change to make one word of the other.
size_t Distance(const std::string& a, const std::string& b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i)
    {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j)
        {
            const size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, changed}));
        }
    }
    return row.back();
}

std::string JoinNearest(const std::string& name)
{
    std::vector<std::pair<size_t, std::string>> nearest;
    for (const CatalogRow& row : GetCatalog())
        nearest.emplace_back(row.name.find(name) != std::string::npos ? 0 : Distance(name, row.name), row.name);
    std::sort(nearest.begin(), nearest.end());
    nearest.erase(std::unique(nearest.begin(), nearest.end()), nearest.end());
    nearest.resize(std::min<size_t>(nearest.size(), 3));
    std::string joined;
    for (const auto& [distance, candidate] : nearest)
        joined += (joined.empty() ? "" : ", ") + candidate;
    return joined;
}

FieldInfo TimeKey(const std::string& key, const std::string& help, double value)
{
    return {key, help, Core::Property(key, value), 0, Seconds(MAX_DURATION), {}};
}

[[noreturn]] void Refuse(const std::string& why)
{
    throw UserError(ExitCode::Usage, why);
}

const char* NameOf(MediaType kind)
{
    return kind == MediaType::Video ? "pictures (--vf)" : "sound (--af)";
}

const CatalogRow& FindFilter(const std::string& name, MediaType kind)
{
    const std::vector<const CatalogRow*> rows = FindFilters(name);
    for (const CatalogRow* row : rows)
        if (row->kind == kind)
            return *row;
    Refuse(fmt::format("\"{}\" is a filter of {}, not of {}", name, NameOf(rows.front()->kind), NameOf(kind)));
}

/// What the settings call the key and its value.
std::pair<std::string, std::string> ToSettings(const CatalogRow& row, const std::string& key, const std::string& text)
{
    for (const CatalogRow::Renamed& renamed : row.renamed)
    {
        if (renamed.key != key)
            continue;
        for (const auto& [word, value] : renamed.words)
            if (word == text)
                return {renamed.settingsKey, value};
    }
    return {key, text};
}

void SetOption(FilterStep& step, const std::vector<FieldInfo>& keys, const std::string& key, const std::string& text)
{
    const CatalogRow& row = *step.row;
    const auto info = std::find_if(keys.begin(), keys.end(), [&](const FieldInfo& k) { return k.key == key; });
    if (info == keys.end())
    {
        std::string known;
        for (const FieldInfo& k : keys)
            known += (known.empty() ? "" : ", ") + k.key;
        Refuse(fmt::format("{}: there is no key \"{}\"; there are: {}", row.name, key, known));
    }
    const Core::Property value = ParseValue(row.name, *info, text);
    const bool timed = row.form == Form::TimedEffect;
    if (timed && key == start_key)
        step.start = ToTime(value.GetDouble());
    else if (timed && key == duration_key)
        step.duration = ToTime(value.GetDouble());
    else if (key == impl_key)
        step.implName = text;
    if ((timed && (key == start_key || key == duration_key)) ||
        (key == impl_key && row.form != Form::Filter))
        return;
    const auto [settingsKey, settingsText] = ToSettings(row, key, text);
    Core::Property tree(row.prototype->GetClassId());
    Core::Property renamed = settingsKey == key ? value : Core::Property(settingsKey, settingsText);
    tree.Add(renamed);
    try
    {
        step.settings->FromProperty(tree);
    }
    catch (const SettingsException& e)
    {
        Refuse(fmt::format("{}: {}", row.name, Describe(e)));
    }
}

} // namespace
