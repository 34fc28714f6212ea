#include "ffhost/io/H264Framing.h"

#include "Fnd/Exception.h"
#include "Proc/CodecParsers/H264CodecParser.h"
#include "Proc/CodecParsers/H264_HEVC_Common.h"
#include "media/IFormatCodecVideo.h"

extern "C"
{
#include <libavcodec/packet.h>
}

namespace Tessor::Host
{

using namespace Proc;
using namespace Proc::CodecParsers;

H264Framing::H264Framing(const SP<const IBlob>& extradata, bool annexB) : source(extradata), wanted(extradata)
{
    if (!extradata || extradata->Size() == 0)
        return;
    const bool prefixed = IsAvcCHeader(extradata->Data(), extradata->Size());
    if (annexB)
        wanted = H264_Extradata_Mp4toAnnexB(extradata);
    else if (!prefixed)
        wanted = H264_Extradata_AnnexBtoMp4(extradata);

    if (annexB)
        conversion = prefixed ? Conversion::ToStartCodes : Conversion::InsertHeader;
    else if (!prefixed)
        conversion = Conversion::ToPrefixes;
    const SP<const IBlob>& avcC = prefixed ? source : wanted;
    if (conversion == Conversion::ToStartCodes || conversion == Conversion::ToPrefixes)
        lengthSize = GetAvccNALULengthSize(avcC->Data(), avcC->Size());
}

SP<IDataPacket> H264Framing::Convert(const SP<IDataPacket>& packet) const
{
    SP<IDataPacket> result = packet;
    switch (conversion)
    {
    case Conversion::None:
        return packet;
    case Conversion::ToPrefixes:
        result = AnnexBtoMp4(packet, lengthSize);
        break;
    case Conversion::ToStartCodes:
        // The conversion may work in place: the caller keeps his packet.
        result = Mp4toAnnexB(packet->Clone(), lengthSize, source, Conf::IFormatCodecVideo::CODEC_ID_H264);
        break;
    case Conversion::InsertHeader:
        result = InsertH264Extradata(packet, wanted);
        break;
    }
    result->GetAVPacket()->flags = packet->GetAVPacket()->flags;
    return result;
}

} // namespace Tessor::Host
