#pragma once

#include "Proc/Filters/Filters/Cutting/CutShare.h"
#include "Proc/StreamTemplates/IStreamController.h"
#include "host/ICodecFactory.h"

namespace Tessor::Proc
{

/// Removes time intervals from parallel streams. One controller serves all streams of a file: a compressed video
/// stream may only start on a key frame, and that moves the cut for all of them.
///
/// It puts together what its cut streams work with: the intervals that they share, and the moves that their sources
/// make as one. Threads and locks are told there.
class TESSOR_API FilterCutController final : public IStreamController, public RefCountImpl
{
public:
    /// Throws FilterException "Wrong settings!" for settings of another class.
    static SP<FilterCutController> Create(const Settings& settings, SP<ICodecFactory> codecFactory);
    /// For a host that shares the intervals with what it gives the streams, such as decoders.
    static SP<FilterCutController> Create(const SP<CutIntervals>& intervals, SP<ICodecFactory> codecFactory);

    /// These replace the intervals; GOP detection runs again. Both throw std::invalid_argument for another class.
    void Initialize(const Core::Property& settings) override;
    void Initialize(const Settings& settings) override;
    /// Throws FilterException for a stream that is here already, or whose duration is not that of the others.
    SP<IStreamRaw> AddStream(const SP<IStreamRaw>& stream) override;
    SP<IStreamAudio> AddStream(const SP<IStreamAudio>& stream) override;
    SP<IStreamVideo> AddStream(const SP<IStreamVideo>& stream) override;
    SP<IStreamSubtitle> AddStream(const SP<IStreamSubtitle>& stream) override;

    /// For streams that are added from then on. Codecs are then created by several threads at a time, and what decoders
    /// leave out must not change with intervals that widen.
    void SetEncodeAhead(const EncodeAhead& limits) { ahead = limits; }

    /// The present intervals: they may have widened to key frames.
    SettingsFilterCutController GetCut() const { return intervals->GetSettings(); }
    const SP<CutIntervals>& GetIntervals() const { return intervals; }
    const SP<CutJumps>& GetJumps() const { return jumps; }

    // ---- what the cut streams do, for hosts with streams of their own

    bool CutsAreAbsent() const { return intervals->CutsAreAbsent(); }
    SP<IDataPacket> CutData(const SP<IDataPacket>& packet) const { return intervals->CutData(packet); }
    template <class T>
    SP<T> CutDataTemplate(const SP<T>& item) const
    {
        return intervals->CutDataTemplate(item);
    }
    void SeekToNextPosition(avTime position) { jumps->SeekToNextPosition(position); }
    bool SeekInputStreams(avTime position, bool seekAgain) { return jumps->SeekInputStreams(position, seekAgain); }
    bool CheckPositionForEOF(avTime position) const { return jumps->CheckPositionForEOF(position); }
    void DetectNewGOPS() { jumps->DetectNewGOPS(); }
    void AddGOPPoint(avTime t) { intervals->AddGOPPoint(t); }
    void EraseStream(IStream* source) { jumps->EraseStream(source); }

private:
    FilterCutController(const SP<CutIntervals>& intervals, const SP<ICodecFactory>& codecFactory)
        : intervals(intervals), jumps(new CutJumps(intervals)), codecFactory(codecFactory)
    {
    }

    CutShare Share();
    template <class IStreamThis, class Make>
    SP<IStreamThis> Link(const SP<IStreamThis>& stream, const Make& make);

    const SP<CutIntervals> intervals;
    const SP<CutJumps> jumps;
    const SP<ICodecFactory> codecFactory; // null when no compressed streams are cut
    EncodeAhead ahead;                    // for the next stream; a host may set it at any time
};

} // namespace Tessor::Proc
