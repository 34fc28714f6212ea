#pragma once

#include "ffhost/io/Container.h"

#include <memory>
#include <string>
#include <vector>

namespace Tessor::Host
{

/// What a file says of itself before its first packet: tracks, tags and chapters, as far as its container takes them.
class TESSOR_API FileHeader
{
public:
    /// A tag that describes a file or stream as it was written, not what is in it.
    static bool IsBookkeeping(std::string key);

    /// `container` outlives it.
    FileHeader(const std::string& path, const Container& container) : path(path), container(container) {}

    struct ContextDeleter
    {
        void operator()(AVFormatContext* context) const { avformat_free_context(context); }
    };
    using ContextPtr = std::unique_ptr<AVFormatContext, ContextDeleter>;

    void SetTags(const Tags& newTags) { tags = newTags; }
    void SetChapters(const std::vector<ChapterInfo>& newChapters) { chapters = newChapters; }
    /// `parameters` are what the container is told; both outlive this.
    void AddTrack(const TrackInfo& source, const AVCodecParameters& parameters);
    /// Whether libavformat's muxer takes a track beside those there are.
    bool Fits(const TrackInfo& source, const AVCodecParameters& parameters) const;

    /// The muxer's context with all tracks, in the ticks that it will choose.
    ContextPtr MakeContext() const;
    /// The options to open it with; the caller frees them.
    AVDictionary* MakeOptions(const AVFormatContext& context) const;
    /// `shift` is added to all times of the file. Before the header is written.
    void AddChapters(AVFormatContext& context, avTime shift) const;

    /// What of the file, and of a track, the container can't say.
    std::vector<std::string> GetLosses() const;
    std::vector<std::string> GetLosses(size_t track) const;

private:
    struct Track
    {
        const TrackInfo& source;
        const AVCodecParameters& parameters;
    };

    ContextPtr MakePlainContext() const;
    void AddStream(AVFormatContext& target, const Track& track) const;
    /// The ticks that the muxer chose for each track; empty when it does not take the header.
    std::vector<AVRational> TryHeader(ContextPtr trial) const;
    int GetVideoTimescale() const;
    std::vector<std::string> FindLostTags(const Tags& of, Container::TagOwner owner, const std::string& what) const;

    const std::string path;
    const Container& container;
    Tags tags;                         // of the file
    std::vector<ChapterInfo> chapters; // without the shift
    std::vector<Track> tracks;
};

} // namespace Tessor::Host
