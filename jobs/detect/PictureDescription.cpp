#include "jobs/detect/PictureDescription.h"

#include "Fnd/Exception.h"
#include "ffhost/codecs/CodecFactory.h"
#include "jobs/SeekTo.h"
#include "media/items/DataVideoFF.h"

extern "C"
{
#include <libavcodec/codec_par.h>
#include <libavcodec/packet.h>
#include <libavutil/display.h>
#include <libavutil/dovi_meta.h>
#include <libavutil/frame.h>
#include <libavutil/mastering_display_metadata.h>
#include <libavutil/pixdesc.h>
}

#include <cmath>
#include <cstring>

namespace Tessor::Jobs
{

namespace
{

std::string TextOf(const char* name)
{
    return name ? name : "";
}

/// Every list of names has an entry for what is not told.
std::string NameOf(int value, int unspecified, const char* (*name)(int value))
{
    return value == unspecified ? "" : TextOf(name(value));
}

std::string NameOfFields(AVFieldOrder order)
{
    switch (order)
    {
    case AV_FIELD_PROGRESSIVE:
        return "progressive";
    case AV_FIELD_TT:
    case AV_FIELD_TB:
        return "top field first";
    case AV_FIELD_BB:
    case AV_FIELD_BT:
        return "bottom field first";
    case AV_FIELD_UNKNOWN:
        break;
    }
    return "";
}

/// libavutil's angle is counter-clockwise.
int FindRotation(const std::vector<int32_t>& matrix)
{
    const double angle = matrix.size() == 9 ? av_display_rotation_get(matrix.data()) : NAN;
    return std::isnan(angle) ? 0 : static_cast<int>(std::lround(360 - angle)) % 360;
}

MasteringDisplay MakeMastering(const AVMasteringDisplayMetadata& data)
{
    MasteringDisplay display;
    const auto point = [](const AVRational(&xy)[2]) { return MasteringDisplay::Point{av_q2d(xy[0]), av_q2d(xy[1])}; };
    const auto& primaries = data.display_primaries;
    if (data.has_primaries)
        display.colours = {point(primaries[0]), point(primaries[1]), point(primaries[2]), point(data.white_point)};
    if (data.has_luminance)
        display.luminance = {av_q2d(data.min_luminance), av_q2d(data.max_luminance)};
    return display;
}

/// A record of libavutil's in bytes that may lie anywhere; it may grow at its end.
template <class Record>
std::optional<Record> ReadRecord(const uint8_t* data, size_t size)
{
    if (size < sizeof(Record))
        return std::nullopt;
    Record record;
    std::memcpy(&record, data, sizeof(Record));
    return record;
}

void AddMastering(PictureDescription& description, const uint8_t* data, size_t size)
{
    if (const auto record = ReadRecord<AVMasteringDisplayMetadata>(data, size))
        description.mastering = MakeMastering(*record);
}

void AddLight(PictureDescription& description, const uint8_t* data, size_t size)
{
    if (const auto record = ReadRecord<AVContentLightMetadata>(data, size))
        description.light = {record->MaxCLL, record->MaxFALL};
}

void AddDolbyVision(PictureDescription& description, const uint8_t* data, size_t size)
{
    if (const auto record = ReadRecord<AVDOVIDecoderConfigurationRecord>(data, size))
        description.dolbyVision = {record->dv_profile, record->dv_level};
}

} // namespace

PictureDescription DescribePictures(const Host::TrackInfo& track)
{
    const AVCodecParameters& parameters = *track.parameters;
    PictureDescription description;
    description.pixelFormat = TextOf(av_get_pix_fmt_name(static_cast<AVPixelFormat>(parameters.format)));
    description.rotation = FindRotation(track.displayMatrix);
    description.primaries =
        NameOf(parameters.color_primaries, AVCOL_PRI_UNSPECIFIED,
               [](int value) { return av_color_primaries_name(static_cast<AVColorPrimaries>(value)); });
    description.transfer =
        NameOf(parameters.color_trc, AVCOL_TRC_UNSPECIFIED,
               [](int value) { return av_color_transfer_name(static_cast<AVColorTransferCharacteristic>(value)); });
    description.matrix = NameOf(parameters.color_space, AVCOL_SPC_UNSPECIFIED,
                                [](int value) { return av_color_space_name(static_cast<AVColorSpace>(value)); });
    description.range = NameOf(parameters.color_range, AVCOL_RANGE_UNSPECIFIED,
                               [](int value) { return av_color_range_name(static_cast<AVColorRange>(value)); });
    description.fieldOrder = NameOfFields(parameters.field_order);
    for (const auto& [type, bytes] : track.sideData)
    {
        if (type == AV_PKT_DATA_MASTERING_DISPLAY_METADATA)
            AddMastering(description, bytes.data(), bytes.size());
        if (type == AV_PKT_DATA_CONTENT_LIGHT_LEVEL)
            AddLight(description, bytes.data(), bytes.size());
        if (type == AV_PKT_DATA_DOVI_CONF)
            AddDolbyVision(description, bytes.data(), bytes.size());
    }
    return description;
}

void AddMessages(PictureDescription& description, const SP<Proc::IStreamRaw>& stream)
try
{
    SeekTo(*stream, 0);
    const SP<Proc::IDataVideo> picture = Host::CodecFactory::Create()->CreateDecoder(stream, "")->Read();
    const auto* const decoded = dynamic_cast<const Proc::DataVideoFF*>(picture.get());
    if (!decoded)
        return;
    const auto find = [&](AVFrameSideDataType type) { return av_frame_get_side_data(decoded->GetAVFrame(), type); };
    const AVFrameSideData* const mastering = find(AV_FRAME_DATA_MASTERING_DISPLAY_METADATA);
    const AVFrameSideData* const light = find(AV_FRAME_DATA_CONTENT_LIGHT_LEVEL);
    if (mastering && !description.mastering)
        AddMastering(description, mastering->data, mastering->size);
    if (light && !description.light)
        AddLight(description, light->data, light->size);
}
catch (const Exception&)
{
    // what is wrong with it is told by those who look at all pictures
}

} // namespace Tessor::Jobs
