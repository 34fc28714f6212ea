#pragma once

#include "ffhost/io/Damage.h"
#include "ffhost/io/MediaInfo.h"
#include "jobs/cut/Groups.h"
#include "jobs/detect/Lossless.h"
#include "jobs/detect/PictureDescription.h"
#include "jobs/reports/JobReport.h"
#include "media/formats/FrameInfo.h"
#include "media/formats/SampleInfo.h"

#include <optional>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// How a track of video can be cut.
struct TESSOR_API ProbeCutting
{
    bool anywhere = false;     ///< at any picture; otherwise at key frames
    std::string obstacle;      ///< why only there
    std::string refusal;       ///< why it can't be cut at all; empty where it can
    std::vector<Group> groups; ///< all of the track's

    long long CountPictures() const;
    long long CountOpen() const;
    /// Pictures of the largest group.
    long long GetLongest() const;
};

/// A track as its container and its headers tell of it.
struct TESSOR_API ProbeTrack
{
    int index = 0;
    std::string kind, codec;
    Host::Tags tags;
    std::optional<Conf::FrameInfo> frame;           ///< of video and covers
    std::optional<Core::Property::Ratio> frameRate; ///< pictures a second, where that is known
    std::optional<PictureDescription> pictures;     ///< likewise
    std::optional<Conf::SampleInfo> samples;        ///< of sound
    long long bitRate = 0;                          ///< bits per second of its packets; 0 where they were not read
    std::string headerFault;                        ///< why the container's header is unusable
    Core::Property header;                          ///< the codec's header, field by field; empty where none is read
    std::optional<ProbeCutting> cutting;            ///< of video
    std::optional<LosslessFinding> lossless;        ///< of video and sound
    std::string fault;                              ///< why the track could not be examined to its end

    /// Empty where the container tells none.
    std::string GetLanguage() const;
};

/// What a file is, and how it can be cut.
struct ProbeReport : JobReport
{
    std::string input;
    std::string container; ///< FFmpeg's name of it
    avTime duration = 0;
    avTime origin = 0;     ///< what the file's own times begin with
    long long bitRate = 0; ///< bits per second, 0 when unknown
    Host::Tags tags;
    std::vector<Host::ChapterInfo> chapters;
    std::vector<ProbeTrack> tracks;
    Host::Damage damage; ///< told in a warning, too
};

} // namespace Tessor::Jobs
