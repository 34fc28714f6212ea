#pragma once

#include "Fnd/RefCount.h"
#include "media/items/IBlob.h"

#include <cstdint>
#include <memory>

struct AVCodecContext;
struct AVCodecParameters;
struct AVCodecParserContext;
struct AVPacket;

namespace Tessor::Host
{

/// libavcodec's parser on whole packets: it tells what is needed to know a picture's place in display order.
class PictureParser
{
public:
    /// `header`: of the packets, where it is not the one of `parameters`.
    explicit PictureParser(const AVCodecParameters& parameters, const SP<const Proc::IBlob>& header = nullptr);

    enum class Field
    {
        Neither, ///< a frame, or unknown
        Top,
        Bottom,
    };

    struct Picture
    {
        bool bidirectional = false; ///< shown where it is decoded, not kept for others
        int64_t order = 0; ///< H.264 and HEVC: rises in display order from one instantaneous refresh to the next
        Field field = Field::Neither;
    };
    Picture Look(const AVPacket& packet);
    /// Display order is told by Picture::order rather than by the types.
    bool HasOrder() const { return hasOrder; }

private:
    void SetHeader(const Proc::IBlob& header);

    struct Deleter
    {
        void operator()(AVCodecContext* context) const;
        void operator()(AVCodecParserContext* parser) const;
    };

    std::unique_ptr<AVCodecContext, Deleter> context;
    std::unique_ptr<AVCodecParserContext, Deleter> parser; // null where libavcodec has none: all pictures look alike
    bool hasOrder;
};

} // namespace Tessor::Host
