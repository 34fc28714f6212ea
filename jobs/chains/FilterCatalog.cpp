#include "jobs/chains/FilterCatalog.h"

#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsAudio.h"
#include "Proc/Filters/Filters/Effects/IFilterApplyEffectsVideo.h"
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
#include "Proc/Settings/SettingsStreamMetadataUpdater.h"
#include "effects/IResample.h"
#include "effects/IResize.h"
#include "ffhost/FormatTags.h"
#include "ffhost/registry/Host.h"
#include "host/ImplNames.h"
#include "jobs/JobError.h"
#include "jobs/Spelling.h"
#include "jobs/chains/FilterValue.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tessor::Jobs
{

using namespace Proc;

namespace
{

using Form = CatalogRow::Form;

const std::string impl_key = "impl", start_key = "start", duration_key = "duration";

template <class S>
CatalogRow Row(const std::string& name, MediaType kind, Form form, const std::string& summary,
               std::vector<CatalogRow::Renamed> renamed = {}, const std::string& engine = {})
{
    return {name, kind, form, summary, std::make_shared<S>(), std::move(renamed), engine};
}

// Names and forms are the chains' own; of keys, bounds and defaults the settings are the only owner.
std::vector<CatalogRow> MakeCatalog()
{
    constexpr MediaType video = MediaType::Video, audio = MediaType::Audio;
    return {
        Row<SettingsResizer>("scale", video, Form::Filter, "brings pictures to a size", {}, IResize::CLASS_ID),
        Row<SettingsFilterFrameRate>(
            "fps", video, Form::Filter, "brings pictures to a frame rate",
            {{"mode",
              impl_key,
              {{"grid", SettingsFilterFrameRate::IMPL_DEFAULT}, {"adjust", SettingsFilterFrameRate::IMPL_ADJUST}}}}),
        Row<SettingsDeinterlace>("deinterlace", video, Form::Filter, "makes whole pictures of two fields each"),
        Row<SettingsFilterBlurTransparentBorder>("borderblur", video, Form::Filter,
                                                 "colours transparent pixels like the visible ones near them"),
        Row<SettingsEffectStabilizer>("stabilize", video, Form::Effect, "takes small movements of the camera out"),
        Row<SettingsColorspaceConverter>("format", video, Form::Effect, "brings pictures to one of some pixel formats"),
        Row<SettingsFade>("fade", video, Form::TimedEffect, "fades from or to black"),
        Row<SettingsAVFilter>("avfilter", video, Form::Filter, "runs a chain of FFmpeg's own filters"),
        Row<SettingsFilterAudioVolume>("volume", audio, Form::Filter, "scales the sound, or levels it"),
        Row<SettingsFilterResample>("resample", audio, Form::Filter,
                                    "brings the sound to a rate, sample format and channel layout", {},
                                    IResample::CLASS_ID),
        Row<SettingsFilterAudioFormatter>("blocks", audio, Form::Filter, "cuts the sound into blocks of one length"),
        Row<SettingsFade>("fade", audio, Form::TimedEffect, "fades from or to silence"),
        Row<SettingsAVFilter>("avfilter", audio, Form::Filter, "runs a chain of FFmpeg's own filters"),
    };
}

template <class List, class Name>
std::string JoinNames(const List& list, Name nameOf)
{
    std::vector<std::string> names;
    for (const auto& item : list)
        names.push_back(nameOf(item));
    return fmt::format("{}", fmt::join(names, ", "));
}

std::string JoinNearest(const std::string& name)
{
    std::vector<std::string> names;
    for (const CatalogRow& row : GetCatalog())
        names.push_back(row.name);
    return fmt::format("{}", fmt::join(FindNearest(name, names), ", "));
}

FieldInfo TimeKey(const std::string& key, const std::string& help, double value)
{
    return {key, help, Core::Property(key, value), 0, static_cast<double>(MAX_DURATION) / SECOND, {}};
}

[[noreturn]] void Refuse(const std::string& why)
{
    throw JobError(JobError::BadRequest, why);
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

const CatalogRow::Renamed* FindRenamed(const CatalogRow& row, const std::string& key)
{
    const auto found = std::find_if(row.renamed.begin(), row.renamed.end(),
                                    [&](const CatalogRow::Renamed& renamed) { return renamed.key == key; });
    return found != row.renamed.end() ? &*found : nullptr;
}

FieldInfo RenameKey(const CatalogRow::Renamed& renamed, FieldInfo info)
{
    info.help.clear(); // it explains the settings' own value; the words speak for themselves
    std::string shown;
    for (const auto& [word, value] : renamed.words)
    {
        info.choices.push_back(word);
        if (info.value == Core::Property(renamed.settingsKey, value))
            shown = word;
    }
    return {renamed.key, info.help, Core::Property(renamed.key, shown), info.least, info.most, info.choices};
}

bool SettingsNameImplementation(const CatalogRow& row)
{
    const std::vector<FieldInfo> fields = row.prototype->Describe();
    return std::any_of(fields.begin(), fields.end(), [](const FieldInfo& field) { return field.key == impl_key; });
}

bool IsTimeKey(const CatalogRow& row, const std::string& key)
{
    return row.form == Form::TimedEffect && (key == start_key || key == duration_key);
}

void SetInSettings(FilterStep& step, Core::Property value)
{
    // a tree of one key leaves all the others as they are
    Core::Property tree(step.row->prototype->GetClassId());
    tree.Add(std::move(value));
    try
    {
        step.settings->FromProperty(tree);
    }
    catch (const SettingsException& e)
    {
        Refuse(fmt::format("{}: {}", step.row->name, Describe(e)));
    }
}

void SetTime(FilterStep& step, const std::string& key, double seconds)
{
    // rounded: 0.1 is a little more or less in binary; the key's bounds keep it from leaving 64 bits
    (key == start_key ? step.start : step.duration) = static_cast<avTime>(seconds * SECOND + 0.5);
}

void SetKey(FilterStep& step, const FieldInfo& info, const std::string& text)
{
    const CatalogRow& row = *step.row;
    const Core::Property value = ParseValue(row.name, info, text);
    if (IsTimeKey(row, info.key))
        return SetTime(step, info.key, value.GetDouble());
    if (info.key == impl_key && !SettingsNameImplementation(row))
    {
        step.implName = text;
        return;
    }
    const CatalogRow::Renamed* renamed = FindRenamed(row, info.key);
    if (!renamed)
        return SetInSettings(step, value);
    const auto word = std::find_if(renamed->words.begin(), renamed->words.end(),
                                   [&](const auto& pair) { return pair.first == text; });
    // some settings name their implementation, and the registry is asked by name all the same
    if (renamed->settingsKey == impl_key)
        step.implName = word->second;
    SetInSettings(step, Core::Property(renamed->settingsKey, word->second));
}

FilterStep ReadStep(const FilterCall& call, MediaType kind)
{
    const CatalogRow& row = FindFilter(call.name, kind);
    FilterStep step{&row, std::shared_ptr<SettingsTree>(dynamic_cast<SettingsTree*>(row.prototype->Clone())), {}};
    const std::vector<FieldInfo> keys = row.GetKeys();
    for (const auto& [key, text] : call.options)
    {
        const auto info =
            std::find_if(keys.begin(), keys.end(), [&key = key](const FieldInfo& k) { return k.key == key; });
        if (info == keys.end())
            Refuse(fmt::format("{}: there is no key \"{}\"; there are: {}", row.name, key,
                               JoinNames(keys, [](const FieldInfo& k) { return k.key; })));
        if (!text)
            Refuse(fmt::format("{}: \"{}\" has no value: {}={}=...", row.name, key, row.name, key));
        SetKey(step, *info, *text);
    }
    return step;
}

/// Brings the effect to its settings and its range of time.
template <class Effect, class Kind>
SP<Effect> SetUp(const SP<Effect>& effect, const FilterStep& step, const SP<Kind>& source)
{
    effect->Initialise(*step.settings);
    const avTime end = step.duration != NoTime ? AddTime(step.start, step.duration) : source->GetDuration();
    effect->SetTimeToProgress({step.start, end, TimeToProgress::Linear});
    return effect;
}

/// The filter knows nothing of what a container says of its fields.
SP<IStreamVideo> MarkProgressive(const SP<IStreamVideo>& source, const Factories& factories)
{
    SettingsStreamMetadataUpdater settings;
    settings.metadata.SetChildT<long long>(Host::FormatTags::FIELD_ORDER, Host::FormatTags::FIELD_ORDER_PROGRESSIVE);
    return factories.filters->CreateFilterVideoEx(settings, ImplNames::DEFAULT, source);
}

const std::string& ImplOf(const FilterStep& step)
{
    return step.implName.empty() ? ImplNames::DEFAULT : step.implName;
}

} // namespace

std::vector<FieldInfo> CatalogRow::GetKeys() const
{
    std::vector<FieldInfo> keys;
    for (const FieldInfo& info : prototype->Describe())
    {
        const auto found =
            std::find_if(renamed.begin(), renamed.end(), [&](const Renamed& r) { return r.settingsKey == info.key; });
        keys.push_back(found != renamed.end() ? RenameKey(*found, info) : info);
    }
    if (form == Form::TimedEffect)
    {
        keys.push_back(TimeKey(start_key, "seconds, where the effect begins", 0));
        keys.push_back(TimeKey(duration_key, "seconds that it lasts; to the end where it is not given", 0));
    }
    if (!SettingsNameImplementation(*this))
        keys.push_back({impl_key,
                        "name of the implementation; empty for the default one",
                        Core::Property(impl_key, std::string()),
                        0,
                        0,
                        {}});
    return keys;
}

const std::vector<CatalogRow>& GetCatalog()
{
    static const std::vector<CatalogRow> catalog = MakeCatalog();
    return catalog;
}

std::vector<const CatalogRow*> FindFilters(const std::string& name)
{
    std::vector<const CatalogRow*> rows;
    for (const CatalogRow& row : GetCatalog())
        if (row.name == name)
            rows.push_back(&row);
    if (rows.empty())
        Refuse(fmt::format("there is no filter \"{}\"; the nearest are {} (tessor filters lists all)", name,
                           JoinNearest(name)));
    return rows;
}

std::vector<FilterStep> ReadFilters(const std::string& chain, MediaType kind)
{
    std::vector<FilterStep> steps;
    for (const FilterCall& call : ParseFilterChain(chain))
        steps.push_back(ReadStep(call, kind));
    return steps;
}

Factories Factories::Make()
{
    const Host::MediaHost host = Host::MakeHost();
    return {host.filters, host.effects, host.List()};
}

// A filter whose settings name an engine has one implementation itself: what can be chosen are those of the engine,
// which is registered as an effect. Where settings name an implementation and no engine, their words are the list.
std::vector<std::string> ListImplementations(const CatalogRow& row, const Factories& factories)
{
    const bool filter = row.form == Form::Filter && row.engine.empty();
    const std::string kind =
        std::string(row.kind == MediaType::Video ? "video" : "audio") + (filter ? " filter" : " effect");
    const std::string& classId = row.engine.empty() ? row.prototype->GetClassId() : row.engine;
    const bool asked = !SettingsNameImplementation(row) || !row.engine.empty();
    for (const Host::RegistryEntry& entry : factories.entries)
        if (asked && entry.kind == kind && entry.classId == classId)
            return entry.implementations;
    return {};
}

// A grid of frames goes on as long as its source does, whatever the last item says; frames that are adjusted come one
// by one. A fade that lasts to the end has to know where that is.
bool NeedsLength(const FilterStep& step)
{
    const bool grid = step.settings->GetClassId() == SettingsFilterFrameRate::CLASS_ID &&
                      step.implName != SettingsFilterFrameRate::IMPL_ADJUST;
    return grid || (step.row->form == Form::TimedEffect && step.duration == NoTime);
}

SP<IStreamVideo> MakeFilter(const FilterStep& step, const SP<IStreamVideo>& source, const Factories& factories)
{
    if (step.row->form == Form::Filter)
    {
        const SP<IStreamVideo> stream = factories.filters->CreateFilterVideoEx(*step.settings, ImplOf(step), source);
        return step.settings->GetClassId() == SettingsDeinterlace::CLASS_ID ? MarkProgressive(stream, factories)
                                                                            : stream;
    }
    return ApplyEffect(
        SetUp(factories.effects->CreateEffectVideo(step.settings->GetClassId(), ImplOf(step), nullptr), step, source),
        source, factories);
}

SP<IStreamAudio> MakeFilter(const FilterStep& step, const SP<IStreamAudio>& source, const Factories& factories)
{
    if (step.row->form == Form::Filter)
        return factories.filters->CreateFilterAudioEx(*step.settings, ImplOf(step), source);
    return ApplyEffect(
        SetUp(factories.effects->CreateEffectAudio(step.settings->GetClassId(), ImplOf(step), nullptr), step, source),
        source, factories);
}

SP<IStreamVideo> ApplyEffect(const SP<IOneInputEffectVideo>& effect, const SP<IStreamVideo>& source,
                             const Factories& factories)
{
    const SP<IFilterApplyEffectsVideo> filter = factories.filters->CreateApplyEffectsVideo(ImplNames::DEFAULT, source);
    filter->AddEffect(effect);
    return filter;
}

SP<IStreamAudio> ApplyEffect(const SP<IOneInputEffectAudio>& effect, const SP<IStreamAudio>& source,
                             const Factories& factories)
{
    const SP<IFilterApplyEffectsAudio> filter = factories.filters->CreateApplyEffectsAudio(ImplNames::DEFAULT, source);
    filter->AddEffect(effect);
    return filter;
}

SP<IStreamAudio> MakeResampler(const SP<IStreamAudio>& source, const Conf::SampleInfo& output,
                               const Factories& factories)
{
    SettingsFilterResample settings;
    settings.rate = output.GetSampleRate();
    settings.layout = output.GetChannelLayout();
    // the key's numbers have the unset one first, which is -1 in a format of samples
    settings.format = static_cast<ResampleOutput::Format>(static_cast<int>(output.GetFormat().format) + 1);
    return factories.filters->CreateFilterAudioEx(settings, ImplNames::DEFAULT, source);
}

} // namespace Tessor::Jobs
