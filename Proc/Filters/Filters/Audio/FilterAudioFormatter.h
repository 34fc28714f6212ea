#pragma once

#include "Proc/Filters/Filters/Audio/IFilterAudioFormatter.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "host/IAlgorithmFactory.h"
#include "host/IAudioFormatter.h"

#include <mutex>

namespace Tessor::Proc
{

/// The stream around an engine that cuts blocks to one duration. The last block may be shorter.
class TESSOR_API FilterAudioFormatter final : public virtual IFilterAudioFormatter,
                                              public PassThrough<IStreamAudio>,
                                              public RefCountImpl
{
public:
    static SP<IFilterAudioFormatter> Create(const SP<IStreamAudio>& parent,
                                            const SP<const IAlgorithmFactory>& algorithms);
    /// Takes SettingsFilterAudioFormatter; others throw std::bad_cast.
    static SP<IStreamAudioEx> CreateStreamEx(const SP<IStreamAudio>& parent,
                                             const SP<const IAlgorithmFactory>& algorithms, const Settings& settings);

private:
    FilterAudioFormatter(const SP<IStreamAudio>& parent, const SP<const IAlgorithmFactory>& algorithms);

    void Initialize(const Core::Property& tree) override;
    void Initialize(const Settings& settings) override;
    Core::Property GetSettings() const override;
    void ReleaseInternalData() override;
    Core::Property GetStatistic() const override;
    SP<Conf::IFormatCodecAudio> GetFormatCodec() const override { return parentStream->GetFormatCodec(); }
    void SetPacketDuration(avTime duration) override;
    void SetFormat(const Conf::SampleInfo& format) override;

    SP<IDataAudio> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    void ResetEngine(avTime time);
    SP<IDataAudio> GetBlock(bool flush);

    mutable std::recursive_mutex mutex; // guards the engine and the duration against changes and seeks during a read
    const SP<IAudioFormatter> engine;   // never null
    avTime packetDuration = 100 * MILLISECOND; // of the next block
    // of the blocks delivered; microseconds
    long long statisticsTime = 0;
    unsigned long statisticsCount = 0;
};

} // namespace Tessor::Proc
