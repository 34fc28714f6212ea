#pragma once

#include "Proc/Filters/Filters/Audio/IFilterResample.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "effects/IEffectFactory.h"
#include "effects/IResample.h"

#include <mutex>

namespace Tessor::Proc
{

/// The stream around a resampling engine. An engine that Initialize makes has only the output that it was initialised
/// with: call Init again after it.
class TESSOR_API FilterResample final : public virtual IFilterResample,
                                        public PassThrough<IStreamAudio>,
                                        public RefCountImpl
{
public:
    static SP<IFilterResample> Create(const SP<IStreamAudio>& parent, const SP<const IEffectFactory>& effects);
    /// Takes SettingsFilterResample; others throw std::bad_cast.
    static SP<IStreamAudioEx> CreateStreamEx(const SP<IStreamAudio>& parent, const SP<const IEffectFactory>& effects,
                                             const Settings& settings);

private:
    FilterResample(const SP<IStreamAudio>& parent, const SP<const IEffectFactory>& effects);

    void Initialize(const Core::Property& tree) override;
    void Initialize(const Settings& settings) override;
    Core::Property GetSettings() const override;
    void ReleaseInternalData() override;
    Core::Property GetStatistic() const override;
    SP<Conf::IFormatCodecAudio> GetFormatCodec() const override;
    void Init(const Conf::SampleInfo& output) override;
    void InitByFormat(const SP<const Conf::IFormatCodecAudio>& format) override;

    SP<IDataAudio> ReadInternal() override;
    void DoSeekInternal() override;

    mutable std::recursive_mutex mutex; // guards the engine against changes of the output and seeks during a read
    const SP<const IEffectFactory> effects;
    SP<IResample> engine; // never null once constructed; replaced by Initialize
    std::string implName; // under which the engine was made
    // of the blocks delivered; microseconds
    long long statisticsTime = 0;
    unsigned long statisticsCount = 0;
};

} // namespace Tessor::Proc
