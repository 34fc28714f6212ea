#pragma once

#include "Proc/Settings/SettingsLosslessDetect.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "Proc/StreamTemplates/PassThrough.h"

#include <functional>
#include <utility>
#include <vector>

namespace Tessor::Proc
{

/// Hands packets through and judges whether their stream can be handled by copying them: whether its times are sound,
/// and whether it can be cut at its key frames. Both are thought possible until a packet shows otherwise, for good: a
/// seek resets nothing, so that one backwards counts as times that don't rise. Read a stream once from start to end
/// and ask then. Queries belong to the reading thread.
class TESSOR_API FilterLosslessDetect final : public PassThrough<IStreamRaw>, public RefCountImpl
{
public:
    using Detector = std::function<void(FilterLosslessDetect&, const SP<IDataPacket>&)>;

    /// Takes SettingsLosslessDetect; others throw std::bad_cast.
    static SP<FilterLosslessDetect> Create(const SP<IStreamRaw>& parent, const Settings& settings);

    /// Sets or replaces what is looked for from the next packet on; verdicts and counts stay.
    void Initialize(const SettingsLosslessDetect& newSettings);

    /// Whether packets can be copied as they are. Apart from what single packets showed it asks, at each call, for
    /// enough packets for each unknown presentation time so far; that answer may become true again with more packets.
    bool LosslessPossible() const;
    /// Whether the stream can be cut at its key frames.
    bool LosslessCutPossible() const;

    /// Number of the packet, from 1, that ended the possibility of copying; 0 when none did, also where only the share
    /// of unknown times speaks against it.
    uint64_t GetLosslessEnd() const { return losslessEnd; }
    /// The same for cutting.
    uint64_t GetLosslessCutEnd() const { return losslessCutEnd; }

    /// Every detector with the flag that switches it on, in the order in which they run.
    static const std::vector<std::pair<SettingsLosslessDetect::DetectorFlags, Detector>> s_detectorList;

private:
    FilterLosslessDetect(const SP<IStreamRaw>& parent, const Settings& settings);

    void Initialize(const Core::Property& settings) override;
    Core::Property GetSettings() const override;
    Core::Property GetStatistic() const override;
    MediaType GetMediaType() const override { return parentStream->GetMediaType(); }
    SP<Conf::IFormatCodec> GetFormatCodec() const override { return parentStream->GetFormatCodec(); }

    SP<IDataPacket> ReadInternal() override;

    /// Learns how packets of HEVC are framed; false when that can't be known.
    bool PrepareForCRA();
    void DetectDtsOverPts(const SP<IDataPacket>& packet);
    void DetectNotIncresingDts(const SP<IDataPacket>& packet);
    void DetectBadPts(const SP<IDataPacket>& packet);
    void DetectCRAinHEVC(const SP<IDataPacket>& packet);
    bool HasCRA(const IDataPacket& packet) const;
    /// Clears a verdict with the packet read last.
    void Clear(bool& verdict, uint64_t& end, const char* reason);

    SettingsLosslessDetect settings;       // replaced by Initialize
    std::vector<Detector> activeDetectors; // those of the settings that this stream can have
    const uint64_t statisticsIn = 0;
    uint64_t packetCount = 0;        // packets read; the number of the one under detection
    bool losslessPossible = true;    // until a detector clears it
    bool losslessCutPossible = true; // until a CRA picture comes
    uint64_t badPtsTotal = 0;        // unknown presentation times
    uint64_t badPtsSequence = 0;     // how many of them came last, in a row
    avTime lastDts = NoTime;         // of the packet before
    size_t naluLengthSize = 0;       // of HEVC packets; 0 for Annex B
    uint64_t losslessEnd = 0;        // packetCount when losslessPossible was first cleared
    uint64_t losslessCutEnd = 0;     // packetCount when losslessCutPossible was cleared
};

} // namespace Tessor::Proc
