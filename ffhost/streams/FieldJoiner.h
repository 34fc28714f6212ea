#pragma once

#include "Fnd/Export.h"
#include "ffhost/bitstream/PictureParser.h"
#include "ffhost/io/MediaInfo.h"
#include "ffhost/streams/Relay.h"

namespace Tessor::Host
{

/// Joins the packets of two fields that are a picture of H.264 together, as cameras write them into transport streams.
/// Containers that count or index pictures take a packet for a picture; so does who counts what is displayed.
///
///     source   top 0 | bottom 0 | frame 1 | top 2 | bottom 2
///     result   picture 0        | frame 1 | picture 2
class TESSOR_API FieldJoiner final : public Relay<Proc::IStreamRaw>
{
public:
    /// `format` is that of the packets. The parent itself where no track can be of fields.
    static SP<Proc::IStreamRaw> Create(const SP<Proc::IStreamRaw>& parent, const TrackInfo& info,
                                       const SP<Conf::IFormatCodec>& format);
    /// Of packets as the file has them.
    static SP<Proc::IStreamRaw> Create(const SP<Proc::IStreamRaw>& parent, const TrackInfo& info);

private:
    using Field = PictureParser::Field;
    using Packet = SP<Proc::IDataPacket>;

    FieldJoiner(const SP<Proc::IStreamRaw>& parent, const AVCodecParameters& parameters,
                const SP<const Proc::IBlob>& header)
        : Relay(parent, "FieldJoiner", FRAME_ALLOC_ANY), parser(parameters, header)
    {
    }

    Packet ReadInternal() override;
    void RequestSeekInternal(avTime target, SP<Proc::IStream> partner) override;

    Packet Fetch();
    static Packet Join(const Proc::IDataPacket& first, const Proc::IDataPacket& second);

    PictureParser parser;
    Packet next;                      // fetched, not yet delivered; null when nothing is
    Field nextField = Field::Neither; // of it
};

} // namespace Tessor::Host
