#include "Proc/Filters/Filters/Proof/FilterLosslessDetect.h"

#include "tests/Filters/FakeCodecs.h"
#include "tests/support/ScriptedStream.h"

namespace Tessor::Test
{
namespace
{

using namespace Proc;

constexpr uint32_t Times = 1, Order = 2, BadPts = 4, CRA = 8, All = 15;

// The start of an hvcC with 2-byte lengths, and an Annex B header.
const Bytes Hvcc = Bytes{1} + Bytes(20) + Bytes{1, 0};
const Bytes AnnexB{0, 0, 0, 1, 0x40, 1};

SettingsLosslessDetect Detect(uint32_t detectors, uint64_t maxSequence = 2, uint64_t minPackets = 0)
{
    SettingsLosslessDetect settings;
    settings.detectors = detectors;
    settings.maxSequentialBadPts = maxSequence;
    settings.minPacketsPerBadPts = minPackets;
    return settings;
}

/// With packets of HEVC: 101 is an IDR, 102 a CRA picture, 103 one with lengths in front of its units, 104 a torn one.
SP<ScriptedRaw> MakeSource(const std::string& script, const std::string& codec, const Bytes& extradata)
{
    const SP<ScriptedRaw> source = ScriptedRaw::Create(script, MediaType::Video, codec);
    source->SetPayload(101, {0, 0, 1, 0x26, 1, 0xAF});
    source->SetPayload(102, {0, 0, 1, 0x46, 1, 0x50, 0, 0, 1, 0x2A, 1, 0xAF});
    source->SetPayload(103, {0, 3, 0x46, 1, 0x50, 0, 2, 0x2A, 1});
    source->SetPayload(104, {0, 9, 0x2A, 1});
    source->GetFormatCodec()->SetExtradata(MakeExtradata(extradata));
    return source;
}

// Both verdicts: "yes", or the number of the packet with which it fell, or "share" when no single one did.
std::string Verdicts(const FilterLosslessDetect& filter)
{
    const auto text = [](bool possible, uint64_t end) {
        return end > 0 ? std::to_string(end) + (possible ? "?" : "") : possible ? "yes" : "share";
    };
    return text(filter.LosslessPossible(), filter.GetLosslessEnd()) + "/" +
           text(filter.LosslessCutPossible(), filter.GetLosslessCutEnd());
}

TEST(FilterLosslessDetect, JudgesByThePackets)
{
    const struct
    {
        const char* script;
        uint32_t detectors;
        const char* verdicts;
        const char* codec = "h265";
        Bytes extradata = AnnexB;
    } rows[] = {
        {"0Kd0 80d40 40d41", Times, "3/yes"},
        {"0Kd0 80d40 40d40", Times, "yes/yes"},
        {"?:40d90", Times, "yes/yes"},
        {"80Kd0 120d40 160d40", Order, "3/yes"},
        {"80K 120d0 160d40", Order, "yes/yes"},
        {"80Kd0 120 160d40", Order, "2/yes"}, // unknown after known
        {"?:40d0 ?:40d40 80d80 ?:40d120 ?:40d160", BadPts, "yes/yes"},
        {"?:40d0 80d40 ?:40d80 ?:40d120 ?:40d160", BadPts, "5/yes"},
        {"0K=101 40 80K=102 120K=102", CRA, "yes/3"},
        {"0K=102", CRA, "yes/yes", "h265", {}}, // no header: the framing is unknown
        {"0K=102", CRA, "yes/yes", "h264"},
        {"0K=103", CRA, "yes/1", "h265", Hvcc},
        {"0Kd0=101 40d50=102", All, "2/2"},         // all detectors see the packet
        {"0Kd0=101 40d50 80d80=102", All, "2/yes"}, // none sees a later one
    };
    for (const auto& row : rows)
    {
        const auto filter =
            FilterLosslessDetect::Create(MakeSource(row.script, row.codec, row.extradata), Detect(row.detectors));
        ReadAll(filter);
        EXPECT_EQ(Verdicts(*filter), row.verdicts) << row.script << ' ' << row.codec;
    }
}

// Ten unknown times in a hundred packets: the share is judged when it is asked for, and more packets mend it.
TEST(FilterLosslessDetect, ShareOfUnknownTimes)
{
    std::string script;
    for (int i = 0; i < 110; ++i)
        script += (i < 100 && i % 10 == 5 ? "?:40" : std::to_string(40 * i) + ":40") + " ";
    for (const auto& [minimum, verdicts] : {std::pair(10, "yes/yes"), std::pair(11, "share/yes")})
    {
        const auto filter = FilterLosslessDetect::Create(ScriptedRaw::Create(script), Detect(BadPts, 2, minimum));
        for (int i = 0; i < 100; ++i)
            filter->Read();
        EXPECT_EQ(Verdicts(*filter), verdicts);
        ReadAll(filter);
        EXPECT_EQ(Verdicts(*filter), "yes/yes");
    }
}

TEST(FilterLosslessDetect, MalformedPacketsFailTheRead)
{
    const auto filter = FilterLosslessDetect::Create(MakeSource("0K=104 40=103", "h265", Hvcc), Detect(CRA));
    EXPECT_THROW(filter->Read(), std::logic_error);
    EXPECT_TRUE(filter->Read());
    EXPECT_EQ(Verdicts(*filter), "yes/2");
    const auto headless = FilterLosslessDetect::Create(MakeSource("0K=104", "h265", {1, 1, 1, 1}), Detect(CRA));
    EXPECT_TRUE(headless->Read()) << "an unusable header is none";
}

TEST(FilterLosslessDetect, AVerdictOutlivesSeeksAndNewSettings)
{
    const std::string script = "0Kd0 40d40 80d40 120d80";
    const auto filter = FilterLosslessDetect::Create(ScriptedRaw::Create(script), Detect(Order));
    const SP<IStreamRaw> stream = filter;
    for (int round = 0; round < 2; ++round)
    {
        EXPECT_EQ(ReadAll(stream), script + " E");
        EXPECT_EQ(Verdicts(*filter), "3/yes");
        filter->Initialize(Detect(0));
        Seek(stream, 0);
    }
}

} // namespace
} // namespace Tessor::Test
