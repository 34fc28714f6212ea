#pragma once

#include "Proc/Filters/Filters/Video/FrameAllocReconciler.h"
#include "Proc/Filters/Filters/Video/IFilterResize.h"
#include "Proc/StreamTemplates/PassThrough.h"
#include "effects/IResize.h"

#include <mutex>

namespace Tessor::Proc
{

/// Runs every frame through a resize effect, in the frame memory that the effect works in.
class TESSOR_API FilterResize final : public IFilterResize,
                                      public PassThrough<IStreamVideo, IStreamVideoEx>,
                                      public RefCountImpl
{
public:
    /// Frames keep their size until settings come.
    static SP<IFilterResize> Create(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory);
    /// Takes SettingsResizer; others throw std::bad_cast.
    static SP<IStreamVideoEx> CreateStreamEx(const SP<IStreamVideo>& parent,
                                             const SP<const IEffectFactory>& effectFactory, const Settings& settings);

private:
    FilterResize(const SP<IStreamVideo>& parent, const SP<const IEffectFactory>& effectFactory,
                 const Settings& settings);

    void Initialize(const Core::Property& settings) override;
    void Initialize(const Settings& settings) override;
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    void ReleaseInternalData() override;
    /// Throws FilterException when the parent has no format.
    SP<Conf::IFormatCodecVideo> GetFormatCodec() const override;
    SettingsResizer GetSettings2() const override;

    void AcceptInternal(IStreamVisitor& visitor) override;
    SP<IDataVideo> ReadInternal() override;

    using Lock = std::lock_guard<std::recursive_mutex>;

    mutable std::recursive_mutex mutex; // guards all members below, also while the parent is read
    const SP<const IEffectFactory> effectFactory;
    SP<IResize> resizer; // replaced by Initialize, complete with its settings; never null
    // of the frames delivered; microseconds in the effect
    long long statisticsTime = 0;
    unsigned long statisticsCount = 0;
    FrameAllocReconciler reconciler;
};

} // namespace Tessor::Proc
