#include "media/items/DataAudioFF.h"

#include "Fnd/Exception.h"
#include "media/audio/AudioTime.h"

extern "C"
{
#include <libavutil/buffer.h>
}

#include <algorithm>
#include <cstring>

namespace Tessor::Proc
{

namespace
{

constexpr size_t line_alignment = 32;

size_t GetPlanes(const Conf::SampleInfo& info)
{
    return info.GetFormat().planar ? static_cast<size_t>(info.GetChannelCount()) : 1;
}

/// Bytes from one sample to the next within a plane, all channels of an interleaved format taken together.
size_t GetStep(const Conf::SampleInfo& info)
{
    const int channels = info.GetFormat().planar ? 1 : info.GetChannelCount();
    return static_cast<size_t>(info.GetFormat().bits / 8) * static_cast<size_t>(channels);
}

} // namespace

size_t GetAudioLinesize(const Conf::SampleInfo& info, int sampleCount)
{
    // no overflow: at most 2^31 samples of 8 channels and 8 bytes
    const size_t bytes = GetStep(info) * static_cast<size_t>(sampleCount);
    return (bytes + line_alignment - 1) / line_alignment * line_alignment;
}

size_t GetAudioSize(const Conf::SampleInfo& info, int sampleCount)
{
    return GetAudioLinesize(info, sampleCount) * GetPlanes(info);
}

void DataAudioFF::Unref::operator()(AVBufferRef* buffer) const
{
    av_buffer_unref(&buffer);
}

SP<DataAudioFF> DataAudioFF::CreateBySampleCount(const Conf::SampleInfo& info, int count)
{
    CheckSize(info, count);
    return SP<DataAudioFF>(new DataAudioFF(info, count, Allocate(info, count)));
}

SP<DataAudioFF> DataAudioFF::CreateOver(const Conf::SampleInfo& info, int count, AVBufferRef* buffer)
{
    Buffer owned(buffer);
    if (!buffer)
        Throw<std::invalid_argument>(TESSOR_HERE, "buffer is NULL.");
    CheckSize(info, count);
    const size_t size = GetAudioSize(info, count);
    if (buffer->size < size)
        Throw<std::invalid_argument>(TESSOR_HERE, "An audio block of " + std::to_string(size) +
                                                      " bytes in a buffer of " + std::to_string(buffer->size));
    // what lies beyond is neither copied with the block nor counted as its memory
    buffer->size = size;
    SP<DataAudioFF> block(new DataAudioFF(info, count, std::move(owned)));
    block->ZeroPadding();
    return block;
}

void DataAudioFF::CheckSize(const Conf::SampleInfo& info, int count)
{
    if (count < 0)
        Throw<std::invalid_argument>(TESSOR_HERE, "Audio block of " + std::to_string(count) + " samples");
    if (info.GetChannelCount() == 0)
        Throw<std::invalid_argument>(TESSOR_HERE, "Audio block without channels");
}

DataAudioFF::DataAudioFF(const Conf::SampleInfo& info, int count, Buffer buffer)
    : TimedData(NoTime, SampleCount2Duration(static_cast<unsigned long long>(count), info.GetSampleRate())), info(info),
      sampleCount(count), buffer(std::move(buffer))
{
}

DataAudioFF::~DataAudioFF() = default;

DataAudioFF::Buffer DataAudioFF::Allocate(const Conf::SampleInfo& info, int count)
{
    Buffer buffer(av_buffer_allocz(GetAudioSize(info, count)));
    if (!buffer)
        Throw<Exception>(TESSOR_HERE, "Can't allocate an audio block of " + std::to_string(count) + " samples");
    return buffer;
}

/// What follows the samples of each plane.
void DataAudioFF::ZeroPadding()
{
    const size_t linesize = GetAudioLinesize(info, sampleCount);
    const size_t used = GetStep(info) * static_cast<size_t>(sampleCount);
    for (size_t plane = 0; plane < GetPlanes(info); ++plane)
        std::fill_n(buffer->data + plane * linesize + used, linesize - used, uint8_t{0});
}

void DataAudioFF::TrimStart(avTime amount)
{
    // the samples first: where this throws, no time has moved yet
    KeepSamples(0, GetSampleIndex(amount));
    pts = AddTime(pts, amount);
    duration = SubTime(duration, amount);
}

size_t DataAudioFF::GetMemorySize() const
{
    return buffer->size;
}

void DataAudioFF::TrimEnd(avTime amount)
{
    KeepSamples(sampleCount - GetSampleIndex(amount), sampleCount);
    duration = SubTime(duration, amount);
}

SP<IDataAudio> DataAudioFF::Clone(int mode) const
{
    Buffer shared(av_buffer_ref(buffer.get()));
    if (!shared)
        Throw<Exception>(TESSOR_HERE, "Can't share an audio block");
    SP<DataAudioFF> clone(new DataAudioFF(info, sampleCount, std::move(shared)));
    clone->pts = pts;
    clone->duration = duration;
    if (mode != 0)
        clone->MakeUnique();
    return clone;
}

AudioRef DataAudioFF::GetAudioRef()
{
    MakeUnique();
    return GetConstAudioRef();
}

AudioRef DataAudioFF::GetConstAudioRef() const
{
    return AudioRef{sampleCount, info, buffer->data, GetAudioLinesize(info, sampleCount)};
}

void DataAudioFF::FillSilence()
{
    // a shared buffer is replaced rather than copied, as nothing of it would stay
    if (!av_buffer_is_writable(buffer.get()))
        buffer = Allocate(info, sampleCount);
    const uint8_t silence = info.GetFormat().bits == 8 ? 128 : 0;
    const size_t linesize = GetAudioLinesize(info, sampleCount);
    for (size_t plane = 0; plane < GetPlanes(info); ++plane)
        std::fill_n(buffer->data + plane * linesize, GetStep(info) * static_cast<size_t>(sampleCount), silence);
}

void DataAudioFF::RemovePart(avTime start, avTime length)
{
    if (start < 0 || length < 0)
        Throw<Exception>(TESSOR_HERE, "Can't remove " + T2S(length) + " from " + T2S(start) + " of an audio block");
    // both ends are rounded from the block's start, as the trims round theirs
    const int tailStart = GetSampleIndex(AddTime(start, length));
    KeepSamples(GetSampleIndex(start), tailStart);
    duration = SubTime(duration, length);
}

void DataAudioFF::Shorten(int count)
{
    if (count < 0 || count > sampleCount)
        Throw<std::invalid_argument>(TESSOR_HERE, "No " + std::to_string(count) + " samples in an audio block of " +
                                                      std::to_string(sampleCount));
    MakeUnique();
    // towards the front and in this order: no plane lands on one that has yet to move
    const size_t oldLine = GetAudioLinesize(info, sampleCount), newLine = GetAudioLinesize(info, count);
    for (size_t plane = 1; newLine != oldLine && plane < GetPlanes(info); ++plane)
        std::memmove(buffer->data + plane * newLine, buffer->data + plane * oldLine, newLine);
    buffer->size = GetAudioSize(info, count);
    sampleCount = count;
    ZeroPadding();
    duration = SampleCount2Duration(static_cast<unsigned long long>(count), info.GetSampleRate());
}

/// The sample that stands `offset` after the block's start, or one past the last. A stated duration may be a little
/// longer than the samples last; an offset in that rest is their end.
int DataAudioFF::GetSampleIndex(avTime offset) const
{
    const long long index = Duration2SampleCount(offset, info.GetSampleRate());
    const bool inside = duration != NoTime ? offset <= duration : index <= sampleCount;
    if (offset < 0 || !inside || info.GetSampleRate() <= 0)
        Throw<Exception>(TESSOR_HERE, "Can't cut an audio block of " + T2S(duration) + " at " + T2S(offset));
    return static_cast<int>(std::min<long long>(index, sampleCount));
}

/// Keeps [0, headCount) and [tailStart, sampleCount), packed as a new block of that many samples would be.
void DataAudioFF::KeepSamples(int headCount, int tailStart)
{
    const int tailCount = sampleCount - tailStart;
    if (headCount + tailCount == sampleCount)
        return;
    Buffer packed = Allocate(info, headCount + tailCount);
    const size_t step = GetStep(info);
    const size_t oldLine = GetAudioLinesize(info, sampleCount);
    const size_t newLine = GetAudioLinesize(info, headCount + tailCount);
    for (size_t plane = 0; plane < GetPlanes(info); ++plane)
    {
        const uint8_t* from = buffer->data + plane * oldLine;
        uint8_t* to = packed->data + plane * newLine;
        to = std::copy_n(from, step * static_cast<size_t>(headCount), to);
        std::copy_n(from + step * static_cast<size_t>(tailStart), step * static_cast<size_t>(tailCount), to);
    }
    buffer = std::move(packed);
    sampleCount = headCount + tailCount;
}

void DataAudioFF::MakeUnique()
{
    AVBufferRef* raw = buffer.release();
    const int result = av_buffer_make_writable(&raw);
    buffer.reset(raw); // a failure leaves the old reference in place
    if (result < 0)
        Throw<Exception>(TESSOR_HERE, "Can't copy an audio block");
}

} // namespace Tessor::Proc
