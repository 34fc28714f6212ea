#include "Proc/Filters/Filters/Audio/FilterAudioMixer.h"

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"
#include "Proc/Filters/Filters/FilterHelpers.h"
#include "Proc/Settings/IPreset.h"
#include "Proc/StreamTemplates/Visitors.h"
#include "host/ImplNames.h"
#include "media/items/DataAudioFF.h"

#include <algorithm>
#include <glog/logging.h>

namespace Tessor::Proc
{

namespace
{

bool CanBeAdded(const AudioRef& block, const AudioRef& sum)
{
    return block.sampleInfo.GetFormat().format == sum.sampleInfo.GetFormat().format &&
           block.sampleInfo.GetChannelCount() == sum.sampleInfo.GetChannelCount();
}

/// The samples in lines as another block has them: cut off, or with silence after them.
SP<IDataAudio> FitLines(const AudioRef& block, const AudioRef& model)
{
    const SP<IDataAudio> fitted = DataAudioFF::CreateBySampleCount(model.sampleInfo, model.sampleCount);
    fitted->FillSilence();
    RepackAudio(fitted->GetAudioRef(), block);
    return fitted;
}

} // namespace

SP<IFilterAudioMixer> FilterAudioMixer::Create(const SP<const IFilterFactory>& factory)
{
    return SP<IFilterAudioMixer>(new FilterAudioMixer(factory));
}

FilterAudioMixer::FilterAudioMixer(const SP<const IFilterFactory>& factory) : factory(factory)
{
    if (!factory)
        Throw<std::invalid_argument>(TESSOR_HERE, "A mixer needs a factory of filters.");
}

void FilterAudioMixer::Initialize(const Core::Property& tree)
{
    CheckClassName(TESSOR_HERE, tree, CLASS_ID, "Object");
}

Core::Property FilterAudioMixer::GetSettings() const
{
    Core::Property tree(CLASS_ID);
    tree.SetChild(IPreset::KEY_TYPE_ID, "");
    return tree;
}

avTime FilterAudioMixer::GetDuration() const
{
    if (chains.empty())
        return 0;
    avTime longest = NoTime; // the lowest number: unknown durations count only where all are
    for (const AudioStreamChain& chain : chains)
        longest = std::max(longest, chain.output->GetDuration());
    return longest;
}

void FilterAudioMixer::RequestSeek(avTime time, SP<IStream> partner)
{
    for (AudioStreamChain& chain : chains)
    {
        chain.ended = false;
        chain.output->RequestSeek(time, partner);
    }
    position = time;
}

void FilterAudioMixer::DoSeek()
{
    for (const AudioStreamChain& chain : chains)
        chain.output->DoSeek();
}

bool FilterAudioMixer::GetSeekResult()
{
    return std::all_of(chains.begin(), chains.end(), [](const auto& chain) { return chain.output->GetSeekResult(); });
}

Core::Property FilterAudioMixer::GetStatistic() const
{
    Core::Property record =
        Core::MakeStatistics(Core::StatisticsTag("FilterAudioMixer"), statisticsTime, statisticsCount);
    for (const AudioStreamChain& chain : chains)
        record.Add(chain.output->GetStatistic());
    return record;
}

void FilterAudioMixer::Terminate()
{
    for (const AudioStreamChain& chain : chains)
        chain.output->Terminate();
}

bool FilterAudioMixer::IsTerminated() const
{
    return std::any_of(chains.begin(), chains.end(), [](const auto& chain) { return chain.output->IsTerminated(); });
}

void FilterAudioMixer::ReleaseInternalData()
{
    for (const AudioStreamChain& chain : chains)
        chain.output->ReleaseInternalData();
}

void FilterAudioMixer::Accept(IStreamVisitor& visitor)
{
    Visitors::ProcessStandartVisitors(visitor, "FilterAudioMixer", FRAME_ALLOC_CPU, nullptr);
    for (const AudioStreamChain& chain : chains)
        chain.output->Accept(visitor);
}

SP<IDataAudio> FilterAudioMixer::Read()
{
    std::vector<Input> inputs = ReadInputs();
    if (inputs.empty())
        return nullptr;
    const SP<IDataAudio> first = inputs.front().block;
    const SP<IDataAudio> mixed = DataAudioFF::CreateBySampleCount(first->GetSampleInfo(), first->GetSampleCount());
    mixed->SetPTS(first->GetPTS());
    mixed->SetDuration(first->GetDuration());
    const AudioRef sum = mixed->GetAudioRef();
    MixAudio(sum, FitInputs(inputs, sum));
    position = AddTime(first->GetPTS(), first->GetDuration());
    ++statisticsCount;
    return mixed;
}

std::vector<FilterAudioMixer::Input> FilterAudioMixer::ReadInputs()
{
    std::vector<Input> inputs;
    for (AudioStreamChain& chain : chains)
    {
        const SP<IDataAudio> block = chain.ended ? nullptr : chain.output->Read();
        chain.ended = !block;
        if (block)
            inputs.push_back({block, chain.volume});
    }
    return inputs;
}

std::vector<Audio2Mix> FilterAudioMixer::FitInputs(std::vector<Input>& inputs, const AudioRef& sum)
{
    std::vector<Audio2Mix> fitting;
    for (Input& input : inputs)
    {
        AudioRef audio = input.block->GetConstAudioRef();
        // a host's own resampler or formatter may not have followed the common format
        if (!CanBeAdded(audio, sum))
        {
            LOG(WARNING) << "Dropping audio block of another format than the mix.";
            continue;
        }
        // The mixing routine takes the lines of the sum for those of all inputs.
        if (audio.linesize != sum.linesize || audio.sampleCount < sum.sampleCount)
        {
            input.block = FitLines(audio, sum);
            audio = input.block->GetConstAudioRef();
        }
        fitting.push_back({audio, input.volume});
    }
    return fitting;
}

SP<Conf::IFormatCodecAudio> FilterAudioMixer::GetFormatCodec() const
{
    const SP<Conf::IFormatCodecAudio> format = Conf::IFormatCodecAudio::Create();
    format->SetSampleInfo(GetResampleSettings());
    return format;
}

FilterAudioMixer::Index FilterAudioMixer::AddStream(SP<IStreamAudio> stream, int volume)
{
    const SP<Conf::IFormatCodecAudio> format = stream ? stream->GetFormatCodec() : nullptr;
    if (!format)
        Throw<FilterException>(TESSOR_HERE, "Stream format is NULL.");
    const Conf::SampleInfo former = GetResampleSettings();
    Conf::SampleInfo common = former;
    common.MergeWith(format->GetSampleInfo());
    // the chains that there are; the new one gets the format when it is made
    if (!(common == former))
        InitChains(common);

    AudioStreamChain chain;
    chain.source = stream;
    chain.resampler = factory->CreateResample(ImplNames::DEFAULT, stream);
    chain.resampler->Init(common);
    chain.formatter = factory->CreateAudioFormatter(ImplNames::DEFAULT, chain.resampler);
    chain.output = chain.formatter;
    chain.volume = volume / 100.0;
    chains.push_back(std::move(chain));
    return static_cast<Index>(chains.size() - 1);
}

void FilterAudioMixer::RemoveStream(Index id)
{
    if (id == NO_STREAM)
        return;
    const Conf::SampleInfo former = GetResampleSettings();
    const AudioStreamChain removed = chains.at(id); // its filters outlive the change
    chains.erase(chains.begin() + id);
    const Conf::SampleInfo common = GetResampleSettings();
    if (!(common == former))
        InitChains(common);
}

void FilterAudioMixer::RemoveStream(SP<IStreamAudio> stream)
{
    RemoveStream(GetStreamId(stream));
}

FilterAudioMixer::Index FilterAudioMixer::GetStreamId(SP<IStreamAudio> stream) const
{
    const auto found =
        std::find_if(chains.begin(), chains.end(), [&](const auto& chain) { return chain.source == stream; });
    return found == chains.end() ? NO_STREAM : static_cast<Index>(found - chains.begin());
}

void FilterAudioMixer::SetVolume(SP<IStreamAudio> stream, int volume)
{
    SetVolume(GetStreamId(stream), volume);
}

void FilterAudioMixer::SetVolume(Index id, int volume)
{
    chains.at(id).volume = volume / 100.0;
}

void FilterAudioMixer::UpdateResampleSettings()
{
    InitChains(GetResampleSettings());
}

Conf::SampleInfo FilterAudioMixer::GetResampleSettings() const
{
    Conf::SampleInfo common(Conf::SampleFormats::None, -1, Conf::ChannelLayout::None);
    for (const AudioStreamChain& chain : chains)
        if (const SP<Conf::IFormatCodecAudio> format = chain.source->GetFormatCodec())
            common.MergeWith(format->GetSampleInfo());
    return common;
}

void FilterAudioMixer::InitChains(const Conf::SampleInfo& common)
{
    for (const AudioStreamChain& chain : chains)
    {
        chain.resampler->Init(common);
        chain.formatter->SetFormat(common);
    }
}

} // namespace Tessor::Proc
