#include "ffhost/registry/EffectFactory.h"

#include "Proc/StreamTemplates/IStreamAudio.h"
#include "effects/MultiEffect.h"
#include "ffhost/effects/AVFilterEffect.h"
#include "ffhost/effects/ColorspaceConverter.h"
#include "ffhost/effects/Deinterlacer.h"
#include "ffhost/effects/Fade.h"
#include "ffhost/effects/Resampler.h"
#include "ffhost/effects/Resizer.h"
#include "ffhost/effects/Stabilizer.h"

namespace Tessor::Host
{

using namespace Proc;

namespace
{

const std::vector<std::string> by_ffmpeg{ImplNames::FFMPEG};
const std::vector<std::string> own{ImplNames::TESSOR};
/// A bundle makes its members of the implementation that it was asked for, whichever it is.
const std::vector<std::string> bundle{ImplNames::TESSOR, ImplNames::FFMPEG};

/// What is registered of an effect: creation and lists read the same rows, so that nothing is listed which can't be
/// made.
template <class Interface, class Data>
struct EffectRow
{
    std::string classId;
    std::vector<std::string> names;
    SP<Interface> (*make)(const SP<const IEffectFactory>& factory, const std::string& implName,
                          const SP<const Data>& data);
};
using VideoRow = EffectRow<IOneInputEffectVideo, IFactoryDataVideo>;
using AudioRow = EffectRow<IOneInputEffectAudio, IFactoryDataAudio>;

template <class Effect, class Interface, class Data>
SP<Interface> Make(const SP<const IEffectFactory>&, const std::string&, const SP<const Data>& data)
{
    return SP<Interface>(new Effect(data));
}

template <class Effect, class Interface, class Data>
SP<Interface> MakeBundle(const SP<const IEffectFactory>& factory, const std::string& implName,
                         const SP<const Data>& data)
{
    return SP<Interface>(new Effect(factory, implName, data));
}

template <class Effect>
constexpr auto make_video = Make<Effect, IOneInputEffectVideo, IFactoryDataVideo>;
template <class Effect>
constexpr auto make_audio = Make<Effect, IOneInputEffectAudio, IFactoryDataAudio>;

const std::vector<VideoRow>& GetVideoRows()
{
    static const std::vector<VideoRow> rows = {
        {SettingsColorspaceConverter::CLASS_ID, by_ffmpeg, make_video<ColorspaceConverter>},
        {IResize::CLASS_ID, by_ffmpeg, make_video<Resizer>},
        {SettingsDeinterlace::CLASS_ID, by_ffmpeg, make_video<Deinterlacer>},
        {SettingsEffectStabilizer::CLASS_ID, by_ffmpeg, make_video<Stabilizer>},
        {SettingsAVFilter::CLASS_ID, by_ffmpeg, make_video<AVFilterEffectVideo>},
        {SettingsFade::CLASS_ID, own, make_video<FadeVideo>},
        {SettingsMultiEffect::CLASS_ID, bundle, MakeBundle<MultiEffectVideo, IOneInputEffectVideo, IFactoryDataVideo>},
    };
    return rows;
}

const std::vector<AudioRow>& GetAudioRows()
{
    static const std::vector<AudioRow> rows = {
        {IResample::CLASS_ID, by_ffmpeg, make_audio<Resampler>},
        {SettingsAVFilter::CLASS_ID, by_ffmpeg, make_audio<AVFilterEffectAudio>},
        {SettingsFade::CLASS_ID, own, make_audio<FadeAudio>},
        {SettingsMultiEffect::CLASS_ID, bundle, MakeBundle<MultiEffectAudio, IOneInputEffectAudio, IFactoryDataAudio>},
    };
    return rows;
}

/// Null for a class that is not there.
template <class Row>
const Row* FindRow(const std::vector<Row>& rows, const std::string& classId)
{
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row& row) { return row.classId == classId; });
    return found == rows.end() ? nullptr : &*found;
}

/// Throws EffectException where nothing of that name is in the row, or there is no row.
template <class Row>
void CheckRow(const Row* row, const std::string& kind, const std::string& classId, const std::string& implName)
{
    FindImplementation<EffectException>({kind, classId, row ? row->names : std::vector<std::string>()}, implName,
                                        DefaultImplementation::First);
}

template <class Row>
void AddEntries(const std::vector<Row>& rows, const std::string& kind, std::vector<RegistryEntry>& entries)
{
    for (const Row& row : rows)
        entries.push_back({kind, row.classId, row.names});
}

const std::string video_kind = "video effect";
const std::string audio_kind = "audio effect";

} // namespace

SP<IOneInputEffectVideo> EffectFactory::CreateEffectVideo(Name classId, Name implName, VideoData data) const
{
    const VideoRow* row = FindRow(GetVideoRows(), classId);
    CheckRow(row, video_kind, classId, implName);
    return row->make(SP<const IEffectFactory>(this), implName, data);
}

SP<IOneInputEffectAudio> EffectFactory::CreateEffectAudio(Name classId, Name implName, AudioData data) const
{
    const AudioRow* row = FindRow(GetAudioRows(), classId);
    CheckRow(row, audio_kind, classId, implName);
    return row->make(SP<const IEffectFactory>(this), implName, data);
}

SP<ITwoInputEffectVideo> EffectFactory::CreateTwoInputEffectVideo(Name classId, Name implName, VideoData) const
{
    // throws: there is no row of any name
    CheckRow<VideoRow>(nullptr, "video effect of two inputs", classId, implName);
    return nullptr;
}

SP<IEffect> EffectFactory::CreateEffect(Name classId, const Core::Property& settings, const SP<IStream>& parent,
                                        Name implName, VideoData data) const
{
    // Some classes stand for an effect on pictures and one on sound: the parent decides between them.
    const bool isAudio = FindRow(GetAudioRows(), classId) && !FindRow(GetVideoRows(), classId);
    const bool hearsAudio = dynamic_cast<const IStreamAudio*>(parent.get()) && FindRow(GetAudioRows(), classId);
    SP<IEffect> effect;
    if (isAudio || hearsAudio)
        effect = CreateEffectAudio(classId, implName, nullptr);
    else
        effect = CreateEffectVideo(classId, implName, data);
    if (!settings.GetName().empty())
        effect->Initialize(settings);
    if (parent)
        effect->SetTimeToProgress({0, parent->GetDuration(), &TimeToProgress::Linear});
    return effect;
}

std::vector<std::string> EffectFactory::ListVideoImplementations(Name classId) const
{
    const VideoRow* row = FindRow(GetVideoRows(), classId);
    return row ? row->names : std::vector<std::string>();
}

std::vector<std::string> EffectFactory::ListAudioImplementations(Name classId) const
{
    const AudioRow* row = FindRow(GetAudioRows(), classId);
    return row ? row->names : std::vector<std::string>();
}

std::vector<RegistryEntry> EffectFactory::List() const
{
    std::vector<RegistryEntry> entries;
    AddEntries(GetVideoRows(), video_kind, entries);
    AddEntries(GetAudioRows(), audio_kind, entries);
    return entries;
}

} // namespace Tessor::Host
