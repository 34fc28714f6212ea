#pragma once

#include "Fnd/Exception.h"
#include "media/items/BlobFF.h"
#include "media/items/DataPacketFF.h"

extern "C"
{
#include <libavcodec/packet.h>
}

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

/// What the fuzz targets share.
namespace Tessor::Fuzz
{

/// A broken promise ends the run.
inline void Require(bool promise)
{
    if (!promise)
        std::abort();
}

/// Makes a call that may refuse its input: only with the exceptions that parsers may throw.
template <class Call>
bool Accepts(Call&& call)
{
    try
    {
        call();
        return true;
    }
    catch (const Exception&)
    {
        return false;
    }
    catch (const std::logic_error&)
    {
        return false;
    }
}

/// A record as far as it was decoded; it is sound even when decoding stopped half way.
template <class Record>
Record Decoded(void (*decode)(const uint8_t*, size_t, Record&), const uint8_t* data, size_t size)
{
    Record record;
    Accepts([&] { decode(data, size, record); });
    Require(record == record);
    return record;
}

/// The input behind a first byte, which is the length of a header in front of the rest.
struct SplitInput
{
    SplitInput(const uint8_t* input, size_t inputSize)
        : data(input + 1), size(inputSize - 1), headerSize(std::min<size_t>(input[0], size))
    {
    }

    const uint8_t* data;
    size_t size;
    size_t headerSize;
};

inline SP<Proc::IBlob> Blob(const uint8_t* data, size_t size)
{
    return Proc::BlobFF::Create(data, size);
}

inline SP<Proc::IDataPacket> Packet(const uint8_t* data, size_t size, bool key)
{
    AVPacket* record = Proc::CreatePacket(size);
    Require(record);
    std::copy_n(data, size, record->data);
    record->flags = key ? AV_PKT_FLAG_KEY : 0;
    return Proc::DataPacketFF::Create(record, MediaType::Video, 0, 0, 1);
}

inline bool SameBytes(const Proc::IBlob& a, const Proc::IBlob& b)
{
    return std::equal(a.Data(), a.Data() + a.Size(), b.Data(), b.Data() + b.Size());
}

inline bool SameBytes(const Proc::IDataPacket& a, const Proc::IDataPacket& b)
{
    return std::equal(a.GetData(), a.GetData() + a.GetSize(), b.GetData(), b.GetData() + b.GetSize());
}

} // namespace Tessor::Fuzz
