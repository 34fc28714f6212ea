#include "ffhost/ErrorText.h"

extern "C"
{
#include <libavutil/error.h>
}

#include <cctype>
#include <cerrno>
#include <cstring>
#include <map>

namespace Tessor::Host
{

// FFmpeg's own texts tell programmers which code it is. The system's are plain but for some.
std::string DescribeError(int code)
{
    static const std::map<int, const char*> texts = {
        {AVERROR_INVALIDDATA, "the data is damaged, or of a kind that is not known"},
        {AVERROR_EOF, "the data ends too early"},
        {AVERROR_PATCHWELCOME, "FFmpeg does not know this kind of it yet"},
        {AVERROR_EXTERNAL, "a library that FFmpeg uses has failed"},
        {AVERROR_DEMUXER_NOT_FOUND, "this FFmpeg can't read the format"},
        {AVERROR_MUXER_NOT_FOUND, "this FFmpeg can't write the format"},
        {AVERROR_DECODER_NOT_FOUND, "this FFmpeg has no decoder for it"},
        {AVERROR_ENCODER_NOT_FOUND, "this FFmpeg has no encoder for it"},
        {AVERROR_FILTER_NOT_FOUND, "this FFmpeg has no filter of that name"},
        {AVERROR_BSF_NOT_FOUND, "this FFmpeg has no bitstream filter of that name"},
        {AVERROR_OPTION_NOT_FOUND, "there is no option of that name"},
        {AVERROR_STREAM_NOT_FOUND, "there is no such track"},
        {AVERROR_PROTOCOL_NOT_FOUND, "this FFmpeg does not know the protocol"},
        {AVERROR_EXIT, "it was interrupted"},
        {AVERROR_BUG, "FFmpeg has failed"},
        {AVERROR_BUG2, "FFmpeg has failed"},
        {AVERROR_UNKNOWN, "FFmpeg has failed and does not say why"},
        {AVERROR(EPERM), "the system does not permit it"},
        {AVERROR(EINVAL), "FFmpeg takes no such data or settings"},
        {AVERROR(ENOMEM), "out of memory"},
        {AVERROR(EIO), "the device has failed (input/output error)"},
        {AVERROR(ENOSPC), "no space is left on the device"},
        {AVERROR(EFBIG), "the file grows larger than is allowed"},
        {AVERROR(EPIPE), "nobody reads it any more"},
        {AVERROR(EISDIR), "it is a folder"},
        {AVERROR(ENOENT), "there is no such file or folder"},
    };
    if (const auto known = texts.find(code); known != texts.end())
        return known->second;
    std::string text = std::strerror(AVUNERROR(code));
    // "Permission denied"
    text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

} // namespace Tessor::Host
