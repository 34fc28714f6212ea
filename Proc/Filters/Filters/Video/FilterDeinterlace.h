#pragma once

#include "Proc/Filters/Filters/Video/FrameAllocReconciler.h"
#include "Proc/Settings/SettingsDeinterlace.h"
#include "Proc/StreamTemplates/IStreamVideoEx.h"
#include "Proc/StreamTemplates/PassThrough.h"

#include <deque>
#include <mutex>

namespace Tessor::Proc
{

/// Runs frames through a deinterlacing effect, if there is an interlaced one among the first three after the start or
/// a seek; otherwise all frames pass as they are until the next seek. Time of frames that the effect holds back goes to
/// the start of the next result. An effect that gives nothing for three frames in a row ends the stream.
class TESSOR_API FilterDeinterlace final : public PassThrough<IStreamVideo, IStreamVideoEx>, public RefCountImpl
{
public:
    /// Takes SettingsDeinterlace; others throw std::bad_cast.
    static SP<IStreamVideoEx> Create(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory,
                                     const Settings& settings);

private:
    enum class Mode : int32_t
    {
        Undecided,
        Deinterlacing,
        PassThrough,
    };

    FilterDeinterlace(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory,
                      const Settings& settings);

    void Initialize(const Core::Property& settings) override;
    void Initialize(const Settings& settings) override;
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    void ReleaseInternalData() override;
    /// A still picture keeps its format.
    SP<Conf::IFormatCodecVideo> GetFormatCodec() const override;

    SP<IDataVideo> ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<IStream> partner) override;

    void ResetInternalToDefaults();
    void Decide();
    SP<IDataVideo> TakeFrame();
    /// Null when the effect holds the frame back.
    SP<IDataVideo> Deinterlace(SP<IDataVideo> frame);

    using Lock = std::lock_guard<std::recursive_mutex>;

    mutable std::recursive_mutex mutex; // guards all members below, also while the parent is read
    const SP<IOneInputEffectVideo> deinterlacer;
    const SP<IOneInputEffectVideo> converter; // runs before it
    SettingsDeinterlace settings;             // replaced by Initialize
    FrameAllocReconciler reconciler;
    avTime carriedDuration = 0;           // of the frames held back since the last result
    Mode mode = Mode::Undecided;          // from the first read after a seek to the next seek
    std::deque<SP<IDataVideo>> readAhead; // frames read while deciding
};

} // namespace Tessor::Proc
