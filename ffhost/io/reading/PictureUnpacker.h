#pragma once

#include <memory>

struct AVBSFContext;
struct AVCodecParameters;
struct AVPacket;

namespace Tessor::Host
{

/// Takes apart what writers of AVI pack for players that take as many pictures out as they put packets in: a picture
/// of MPEG-4 and the one that leads it lie in one packet, and one with no picture stands where the second was. The
/// pictures leave in packets of their own, each in the place of a packet that came.
///
///     in   I0 | P3 B1 | B2 | -  | P6 B4 | B5 | -
///     out  I0 | P3    | B1 | B2 | P6    | B4 | B5
class PictureUnpacker
{
public:
    /// By its header.
    static bool IsPacked(const AVCodecParameters& parameters);

    /// Of a packed track; its header then says that it is not.
    explicit PictureUnpacker(AVCodecParameters& parameters);

    /// Puts the next picture into the packet; false when it stands for none.
    bool Unpack(AVPacket& packet);
    /// The file was moved.
    void Reset();

private:
    struct Deleter
    {
        void operator()(AVBSFContext* context) const;
    };

    std::unique_ptr<AVBSFContext, Deleter> filter;
};

} // namespace Tessor::Host
