#pragma once

#include "Proc/Filters/Filters/Audio/IFilterAudioVolume.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "effects/IEffectFactory.h"

#include <mutex>

namespace Tessor::Proc
{

/// A block that is scaled is a new one: the parent may hold on to its own. The gain of a normalised stream starts at
/// 1 after every seek, drops at once to what a block's peak allows, and climbs by 0.7 a second up to 4. It is judged
/// by the block's positive peak.
class TESSOR_API FilterAudioVolume final : public virtual IFilterAudioVolume,
                                           public PassThrough<IStreamAudio>,
                                           public RefCountImpl
{
public:
    /// Takes SettingsFilterAudioVolume; others throw std::bad_cast. The factory is not used.
    static SP<IStreamAudioEx> Create(const SP<IStreamAudio>& parent, const SP<const IEffectFactory>& effects,
                                     const Settings& settings);

private:
    FilterAudioVolume(const SP<IStreamAudio>& parent, const Settings& settings);

    void Initialize(const Core::Property& tree) override;
    void Initialize(const Settings& settings) override;
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    SP<Conf::IFormatCodecAudio> GetFormatCodec() const override { return parentStream->GetFormatCodec(); }

    SP<IDataAudio> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    void Initialize(const SettingsFilterAudioVolume& settings);
    double GetGain(const IDataAudio& block);
    /// The factor for this block. `mutex` is held.
    double UpdateNormalizeFactor(const IDataAudio& block);
    static SP<IDataAudio> ApplyVolume(const IDataAudio& block, double gain);

    mutable std::recursive_mutex mutex; // guards what Initialize and seeks change during a read
    SettingsFilterAudioVolume settings; // replaced by Initialize
    double normalizeFactor = 1.0;       // of the block read last; 1 after a seek
    // of the blocks delivered; microseconds
    long long statisticsTime = 0;
    unsigned long statisticsCount = 0;
};

} // namespace Tessor::Proc
