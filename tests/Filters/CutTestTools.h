#pragma once

#include "Proc/Filters/Filters/Cutting/FilterCutController.h"
#include "tests/Filters/FakeCodecs.h"
#include "tests/support/ScriptedStream.h"

namespace Tessor::Test
{

/// Intervals of ms.
using Ranges = std::vector<std::pair<int64_t, int64_t>>;

/// Settings that keep these and delete everything else.
inline Proc::SettingsFilterCutController Keep(const Ranges& ranges)
{
    Proc::SettingsFilterCutController settings;
    for (const auto& [start, end] : ranges)
        settings.AddInterval(start * ms, end * ms, NoTime, false);
    return settings;
}

inline SP<Proc::FilterCutController> Cutter(const Ranges& kept, SP<Proc::ICodecFactory> factory = nullptr)
{
    return Proc::FilterCutController::Create(Keep(kept), factory);
}

inline std::string PrintOrNull(const SP<Proc::IData>& item)
{
    return item ? PrintScript({DescribeItem(*item)}) : "null";
}

/// The log of a source that was sought to these times in ms.
inline std::string Seeks(const std::vector<int>& targets)
{
    std::string log;
    for (const int target : targets)
        log += (log.empty() ? "" : " ") + ("RequestSeek(" + std::to_string(target)) + ") DoSeek";
    return log;
}

/// A compressed stream and its cut. No encoder is searched for H.265, and none is found where there are no codecs.
struct RawRig
{
    RawRig(const Ranges& kept, const std::string& script, MediaType type = MediaType::Video)
        : RawRig(kept, script, FakeCodecs::Create(), Video::CODEC_ID_H265, {}, type)
    {
    }
    RawRig(const Ranges& kept, const std::string& script, const SP<FakeCodecs>& codecs,
           const std::string& codec = Video::CODEC_ID_VP8, const Bytes& extradata = {},
           MediaType type = MediaType::Video, const Proc::EncodeAhead& ahead = {})
        : source(ScriptedRaw::Create(script, type, codec)), controller(Cutter(kept, codecs))
    {
        const auto format = source->GetFormatCodec();
        format->GetProperties().SetChildT(Video::TAG_FPS, Core::Property::Ratio(25, 1));
        format->GetProperties().SetChildT<long long>(Video::TAG_BITRATE, 4000000);
        format->SetExtradata(MakeExtradata(extradata));
        controller->SetEncodeAhead(ahead);
        cut = controller->AddStream(SP<Proc::IStreamRaw>(source));
    }
    bool CutsAnywhere() const { return cut->GetFormatCodec()->GetProperties()[Video::TAG_CUT_ANYWHERE].GetBool(); }

    const SP<ScriptedRaw> source;
    const SP<Proc::FilterCutController> controller;
    SP<Proc::IStreamRaw> cut;
};

} // namespace Tessor::Test
