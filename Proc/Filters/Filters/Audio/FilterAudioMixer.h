#pragma once

#include "Proc/Algorithms/AudioAlg/Audio2Mix.h"
#include "Proc/Filters/Filters/Audio/IFilterAudioFormatter.h"
#include "Proc/Filters/Filters/Audio/IFilterAudioMixer.h"
#include "Proc/Filters/Filters/Audio/IFilterResample.h"
#include "host/IFilterFactory.h"

#include <vector>

namespace Tessor::Proc
{

/// Every stream runs through a resampler and a formatter of its own, so that all of them arrive in one format and one
/// length of blocks. A mixed block has length, format and times of the first stream that still delivers; what the
/// others have more is lost, what they have less is silence. A stream that has ended leaves the sum until a seek.
class TESSOR_API FilterAudioMixer final : public virtual IFilterAudioMixer, public RefCountImpl
{
public:
    static SP<IFilterAudioMixer> Create(const SP<const IFilterFactory>& factory);

private:
    struct AudioStreamChain
    {
        SP<IStreamAudio> source; // as the caller gave it
        SP<IFilterAudioFormatter> formatter;
        SP<IFilterResample> resampler;
        SP<IStreamAudio> output; // the formatter: what is read
        double volume = 1.0;     // the weight
        bool ended = false;      // the output has given null; until a seek
    };

    struct Input
    {
        SP<IDataAudio> block;
        double volume;
    };

    explicit FilterAudioMixer(const SP<const IFilterFactory>& factory);

    void Initialize(const Core::Property& tree) override;
    Core::Property GetSettings() const override;
    avTime GetDuration() const override;
    avTime GetPosition() override { return position; }
    SP<IData> ReadStream() override { return Read(); }
    void RequestSeek(avTime time, SP<IStream> partner) override;
    void DoSeek() override;
    bool GetSeekResult() override;
    Core::Property GetStatistic() const override;
    void Terminate() override;
    bool IsTerminated() const override;
    void ReleaseInternalData() override;
    void Accept(IStreamVisitor& visitor) override;
    SP<IDataAudio> Read() override;
    SP<Conf::IFormatCodecAudio> GetFormatCodec() const override;

    Index AddStream(SP<IStreamAudio> stream, int volume) override;
    void RemoveStream(Index id) override;
    void RemoveStream(SP<IStreamAudio> stream) override;
    Index GetStreamId(SP<IStreamAudio> stream) const override;
    void SetVolume(SP<IStreamAudio> stream, int volume) override;
    void SetVolume(Index id, int volume) override;
    void UpdateResampleSettings() override;

    /// The format in which all streams meet, computed anew.
    Conf::SampleInfo GetResampleSettings() const;
    /// Everything in them turns to that format, what they hold included.
    void InitChains(const Conf::SampleInfo& common);
    /// One block of every stream that still delivers.
    std::vector<Input> ReadInputs();
    /// The blocks in lines as the sum has them. Where that takes a copy it replaces the input's block.
    static std::vector<Audio2Mix> FitInputs(std::vector<Input>& inputs, const AudioRef& sum);

    const SP<const IFilterFactory> factory;
    std::vector<AudioStreamChain> chains; // an identifier is a place here
    avTime position = NoTime;             // end of the block mixed last, or target of a seek
    const long long statisticsTime = 0;
    unsigned long statisticsCount = 0; // blocks mixed
};

} // namespace Tessor::Proc
