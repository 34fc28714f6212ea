#include "Proc/Filters/Filters/Proof/FilterLosslessDetect.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/HEVCCodecParser.h"
#include "Proc/Filters/Filters/FilterHelpers.h"
#include "media/formats/IFormatCodecVideo.h"

#include <algorithm>
#include <glog/logging.h>

namespace Tessor::Proc
{

const std::vector<std::pair<SettingsLosslessDetect::DetectorFlags, FilterLosslessDetect::Detector>>
    FilterLosslessDetect::s_detectorList{
        {SettingsLosslessDetect::DetectDtsOverPts, &FilterLosslessDetect::DetectDtsOverPts},
        {SettingsLosslessDetect::DetectNotIncresingDts, &FilterLosslessDetect::DetectNotIncresingDts},
        {SettingsLosslessDetect::DetectBadPts, &FilterLosslessDetect::DetectBadPts},
        {SettingsLosslessDetect::DetectCRAinHEVC, &FilterLosslessDetect::DetectCRAinHEVC},
    };

SP<FilterLosslessDetect> FilterLosslessDetect::Create(const SP<IStreamRaw>& parent, const Settings& settings)
{
    return SP<FilterLosslessDetect>(new FilterLosslessDetect(parent, settings));
}

FilterLosslessDetect::FilterLosslessDetect(const SP<IStreamRaw>& parent, const Settings& settings)
    : PassThrough(parent, "FilterLosslessDetect")
{
    Initialize(SettingsCast<SettingsLosslessDetect>(settings));
}

void FilterLosslessDetect::Initialize(const SettingsLosslessDetect& newSettings)
{
    settings = newSettings;
    activeDetectors.clear();
    for (const auto& [flag, detector] : s_detectorList)
    {
        if ((settings.detectors & flag) == 0)
            continue;
        if (flag != SettingsLosslessDetect::DetectCRAinHEVC || PrepareForCRA())
            activeDetectors.push_back(detector);
    }
}

bool FilterLosslessDetect::PrepareForCRA()
{
    if (GetCodecID() != Conf::IFormatCodecVideo::CODEC_ID_H265)
        return false;
    const SP<const IBlob> extradata = parentStream->GetFormatCodec()->GetExtradata();
    if (!extradata || extradata->Size() == 0)
    {
        LOG(WARNING) << "There is no global header in stream, can't search fro CRA packets in hevc stream";
        return false;
    }
    try
    {
        naluLengthSize = CodecParsers::GetHvccNALULengthSize(extradata->Data(), extradata->Size());
        return true;
    }
    catch (const Exception& e)
    {
        LOG(WARNING) << "The global header is unusable, can't search for CRA packets in hevc stream: " << Describe(e);
        return false;
    }
}

bool FilterLosslessDetect::LosslessPossible() const
{
    return losslessPossible && (badPtsTotal == 0 || packetCount / badPtsTotal >= settings.minPacketsPerBadPts);
}

bool FilterLosslessDetect::LosslessCutPossible() const
{
    return losslessCutPossible;
}

void FilterLosslessDetect::Initialize(const Core::Property&)
{
    ThrowMethodNotImplemented(TESSOR_HERE);
}

Core::Property FilterLosslessDetect::GetSettings() const
{
    return Core::Property();
}

Core::Property FilterLosslessDetect::GetStatistic() const
{
    return AddStatistics(parentStream->GetStatistic(), Core::StatisticsTag("FilterLosslessDetect"),
                         static_cast<long long>(statisticsIn), packetCount);
}

SP<IDataPacket> FilterLosslessDetect::ReadInternal()
{
    if (IsTerminated())
        return nullptr;
    const SP<IDataPacket> packet = parentStream->Read();
    if (!packet)
        return nullptr;
    ++packetCount;
    // The packet that clears the verdict still goes through all detectors, no later one through any.
    if (losslessPossible)
        for (const Detector& detector : activeDetectors)
            detector(*this, packet);
    return packet;
}

void FilterLosslessDetect::DetectDtsOverPts(const SP<IDataPacket>& packet)
{
    // an unknown DTS is the lowest number, which is never above
    if (packet->GetPTS() != NoTime && packet->GetDTS() > packet->GetPTS())
        Clear(losslessPossible, losslessEnd, "Lossless impossible: dts > pts");
}

void FilterLosslessDetect::DetectNotIncresingDts(const SP<IDataPacket>& packet)
{
    // No time is the lowest one: unknown after a known one does not rise either.
    if (lastDts != NoTime && packet->GetDTS() <= lastDts)
        Clear(losslessPossible, losslessEnd, "Lossless impossible: dts does not increase");
    lastDts = packet->GetDTS();
}

void FilterLosslessDetect::DetectBadPts(const SP<IDataPacket>& packet)
{
    if (packet->GetPTS() != NoTime)
    {
        badPtsSequence = 0;
        return;
    }
    ++badPtsTotal;
    ++badPtsSequence;
    if (badPtsSequence > settings.maxSequentialBadPts)
        Clear(losslessPossible, losslessEnd, "Lossless impossible: too many sequental bad pts");
}

void FilterLosslessDetect::DetectCRAinHEVC(const SP<IDataPacket>& packet)
{
    if (losslessCutPossible && HasCRA(*packet))
        Clear(losslessCutPossible, losslessCutEnd,
              "Lossless cut impossible: hevc stream has CRA packets instead of IDR");
}

bool FilterLosslessDetect::HasCRA(const IDataPacket& packet) const
{
    using namespace CodecParsers;
    std::vector<Nalu> units;
    const auto size = static_cast<size_t>(packet.GetSize());
    if (naluLengthSize != 0)
        FindMP4Nalus(packet.GetData(), size, units, naluLengthSize);
    else
        FindAnnexBNalus(packet.GetData(), size, units);
    return std::any_of(units.begin(), units.end(),
                       [](const Nalu& unit) { return GetHEVCType(unit.first, unit.second) == HEVC_NALU_CRA; });
}

void FilterLosslessDetect::Clear(bool& verdict, uint64_t& end, const char* reason)
{
    VLOG(31) << "[" << packetCount << "]: " << reason;
    verdict = false;
    end = packetCount;
}

} // namespace Tessor::Proc
