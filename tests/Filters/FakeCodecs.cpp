#include "tests/Filters/FakeCodecs.h"

#include <algorithm>

namespace Tessor::Test
{

namespace
{

void WriteUE(Core::DataBitOutput& output, uint32_t value)
{
    unsigned bits = 0;
    while ((value + 1) >> (bits + 1))
        ++bits;
    output.WriteBits(0, bits);
    output.WriteBits(value + 1, bits + 1);
}

void WriteSE(Core::DataBitOutput& output, int value)
{
    WriteUE(output, static_cast<uint32_t>(value > 0 ? 2 * value - 1 : -2 * value));
}

template <class Write>
std::vector<uint8_t> MakeUnit(const Write& write)
{
    const auto sink = Core::DataOutputString::Create();
    Core::DataBitOutput output(sink);
    write(output);
    output.WriteBits(1, 1);
    output.Flush();
    return {sink->GetString().begin(), sink->GetString().end()};
}

std::vector<uint8_t> MakeSPS(const H264Fields& fields)
{
    return MakeUnit(
        [&](Core::DataBitOutput& output)
        {
            output.WriteBits(0x67, 8);
            output.WriteBits(fields.profile, 8);
            output.WriteBits(fields.constraints, 8);
            output.WriteBits(30, 8);
            WriteUE(output, fields.id);
            if (fields.profile == 100)
            {
                WriteUE(output, 1);
                WriteUE(output, 0);
                WriteUE(output, 0);
                output.WriteBits(0, 2);
            }
            WriteUE(output, 0); // log2_max_frame_num_minus4
            WriteUE(output, 2); // pic_order_cnt_type
            WriteUE(output, fields.refs);
            output.WriteBits(0, 1);
            WriteUE(output, 0);
            WriteUE(output, 0);
            output.WriteBits(0b1100, 4); // frames only, direct inference, no cropping, no VUI
        });
}

std::vector<uint8_t> MakePPS(const H264Fields& fields)
{
    return MakeUnit(
        [&](Core::DataBitOutput& output)
        {
            output.WriteBits(0x68, 8);
            WriteUE(output, fields.id);
            WriteUE(output, fields.id);
            output.WriteBits(fields.cabac, 1);
            output.WriteBits(0, 1);
            WriteUE(output, 0);
            WriteUE(output, 0);
            WriteUE(output, 0);
            output.WriteBits(fields.weighted, 1);
            output.WriteBits(0, 2);
            WriteSE(output, fields.qp);
            WriteSE(output, 0);
            WriteSE(output, fields.chroma);
            output.WriteBits(0, 3);
        });
}

void Append(std::vector<uint8_t>& bytes, const std::vector<uint8_t>& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

} // namespace

std::vector<uint8_t> MakeH264Header(const H264Fields& fields)
{
    std::vector<uint8_t> header{0, 0, 0, 1};
    Append(header, MakeSPS(fields));
    Append(header, {0, 0, 0, 1});
    Append(header, MakePPS(fields));
    return header;
}

std::vector<uint8_t> MakeAvcC(const H264Fields& fields)
{
    const std::vector<uint8_t> sps = MakeSPS(fields);
    const std::vector<uint8_t> pps = MakePPS(fields);
    std::vector<uint8_t> header{1, fields.profile, fields.constraints, 30, 0xFF, 0xE1, 0, uint8_t(sps.size())};
    Append(header, sps);
    Append(header, {1, 0, uint8_t(pps.size())});
    Append(header, pps);
    return header;
}

SP<Video> FakeDecoder::GetFormatCodec() const
{
    const SP<Video> format = Video::Create();
    format->Merge(std::as_const(*parentStream->GetFormatCodec()).GetProperties());
    return format;
}

SP<Proc::IDataVideo> FakeDecoder::ReadInternal()
{
    while (!filled)
    {
        const SP<Proc::IDataPacket> packet = parentStream->Read();
        filled = !packet;
        if (packet)
            frames[packet->GetPTS()] = FakeVideo::Create(DescribeItem(*packet));
    }
    if (frames.empty())
        return nullptr;
    return frames.extract(frames.begin()).mapped();
}

void FakeDecoder::RequestSeekInternal(avTime target, SP<Proc::IStream> partner)
{
    frames.clear();
    filled = false;
    parentStream->RequestSeek(target, partner);
}

SP<Conf::IFormatCodec> FakeEncoder::GetFormatCodec() const
{
    const SP<Conf::IFormatCodec> format = parentStream->GetFormatCodec()->Clone();
    format->SetExtradata(encoding.extradata.empty() ? nullptr : MakeBlob(encoding.extradata));
    return format;
}

void FakeEncoder::Encode()
{
    std::vector<ScriptItem> frames;
    while (const SP<Proc::IDataVideo> frame = parentStream->Read())
        frames.push_back(DescribeItem(*frame));
    std::vector<avTime> clock;
    for (const ScriptItem& frame : frames)
        clock.push_back(frame.pts);
    if (encoding.reorders)
        for (size_t i = 1; i + 1 < frames.size(); i += 2)
            std::swap(frames[i], frames[i + 1]);
    for (size_t i = 0; i + encoding.lost < frames.size(); ++i)
    {
        ScriptItem& frame = frames[i];
        frame.key = i == 0;
        frame.dts = clock[i] - (encoding.reorders ? 40 * ms : 0);
        const std::vector<uint8_t> payload{0, 0, 1, uint8_t(frame.value)};
        packets.push_back(CreateFakePacket(frame, MediaType::Video, &payload));
    }
}

SP<Proc::IDataPacket> FakeEncoder::ReadInternal()
{
    if (!std::exchange(filled, true))
        Encode();
    if (packets.empty())
        return nullptr;
    const SP<Proc::IDataPacket> packet = packets.front();
    packets.pop_front();
    return packet;
}

void FakeEncoder::RequestSeekInternal(avTime target, SP<Proc::IStream> partner)
{
    packets.clear();
    filled = false;
    parentStream->RequestSeek(target, partner);
}

SP<Proc::IEncoder> FakeCodecs::CreateEncoder(const SP<Proc::IStreamVideo>& source, const Core::Property& format,
                                             const std::string& implName, const SP<Core::IComputingResource>& resource)
{
    const std::lock_guard<std::mutex> lock(mutex);
    tried += (tried.empty() ? "" : " ") + implName + (resource ? "+" : "");
    lastFormat = format;
    const FakeEncoding& encoding = encodings.at(implName);
    if (encoding.failsFrom >= 0 && created++ >= encoding.failsFrom)
        Throw<Proc::EncoderException>(TESSOR_HERE, "scripted failure");
    switch (encoding.creation)
    {
    case FakeEncoding::ReturnsNull:
        return nullptr;
    case FakeEncoding::EncoderFault:
        Throw<Proc::EncoderException>(TESSOR_HERE, "scripted failure");
    case FakeEncoding::FactoryFault:
        Throw<Proc::CodecFactoryException>(TESSOR_HERE, "scripted failure");
    case FakeEncoding::Busy:
        Throw<Core::NotEnoughResource>(TESSOR_HERE, "scripted failure");
    case FakeEncoding::Works:
        break;
    }
    return SP<Proc::IEncoder>(new FakeEncoder(source, encoding, resource));
}

} // namespace Tessor::Test
