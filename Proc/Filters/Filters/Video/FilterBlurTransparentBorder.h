#pragma once

#include "Proc/Settings/SettingsFilterBlurTransparentBorder.h"
#include "Proc/StreamTemplates/IStreamVideoEx.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "effects/IEffectFactory.h"
#include "effects/IOneInputEffect.h"

#include <mutex>

namespace Tessor::Proc
{

/// Gives every fully transparent pixel the mean colour of the visible ones near it and leaves it transparent, so that
/// later scaling does not mix arbitrary colours into edges. Frames without alpha pass as they are.
class TESSOR_API FilterBlurTransparentBorder final : public PassThrough<IStreamVideo, IStreamVideoEx>,
                                                     public RefCountImpl
{
public:
    /// Takes SettingsFilterBlurTransparentBorder; others throw std::bad_cast.
    static SP<IStreamVideoEx> Create(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory,
                                     const Settings& settings);

private:
    FilterBlurTransparentBorder(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory,
                                const Settings& settings);

    /// There are no trees of these settings: both throw FilterException.
    void Initialize(const Core::Property& settings) override;
    void Initialize(const Settings& settings) override;
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    SP<Conf::IFormatCodecVideo> GetFormatCodec() const override;

    SP<IDataVideo> ReadInternal() override;

    void Blur(IDataVideo& frame, int alphaByte) const;

    using Lock = std::lock_guard<std::recursive_mutex>;

    mutable std::recursive_mutex mutex; // guards all members below, also while the parent is read
    const SP<IOneInputEffectVideo> converter;
    SettingsFilterBlurTransparentBorder settings; // replaced by Initialize
    // of the frames read; microseconds of work on them
    long long statisticsTime = 0;
    unsigned long statisticsCount = 0;
};

} // namespace Tessor::Proc
