#pragma once

#include "Proc/Settings/Settings.h"

#include <cstdint>

namespace Tessor::Proc
{

/// The framing that FilterBitStream gives a stream of packets. Codecs that a form does not speak of are left unchanged.
class TESSOR_API SettingsFilterBitStream final : public Settings
{
public:
    inline static const std::string CLASS_ID = "SettingsFilterBitStream";

    enum StreamFormat : uint32_t
    {
        STREAM_FORMAT_ANNEX_B = 0,   ///< H.264 and HEVC with start codes
        STREAM_FORMAT_MP4 = 1,       ///< H.264 and HEVC with lengths
        STREAM_FORMAT_RAW_AAC = 2,   ///< AAC without headers
        STREAM_FORMAT_ADTS = 3,      ///< AAC with ADTS headers; raw AAC is left unchanged
        STREAM_FORMAT_UNCHANGED = 4, ///< everything as it is
    };

    explicit SettingsFilterBitStream(StreamFormat streamFormatNeeded = STREAM_FORMAT_UNCHANGED)
        : streamFormatNeeded(streamFormatNeeded)
    {
    }

    const std::string& GetClassId() const override { return CLASS_ID; }
    SettingsFilterBitStream* Clone() const override { return new SettingsFilterBitStream(*this); }
    bool IsEqualTo(const Settings& other) const override
    {
        return streamFormatNeeded == SettingsCast<SettingsFilterBitStream>(other).streamFormatNeeded;
    }

    StreamFormat GetStreamFormatNeeded() const { return streamFormatNeeded; }

private:
    StreamFormat streamFormatNeeded;
};

} // namespace Tessor::Proc
