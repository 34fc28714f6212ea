#pragma once

#include "ffhost/codecs/TrackEncoding.h"
#include "jobs/chains/FilterCatalog.h"
#include "jobs/repack/MuxPump.h"
#include "jobs/reports/JobReport.h"

#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

struct ConvertRequest
{
    std::string input, output;
    std::string videoChain, audioChain; ///< in the grammar of filter chains
    Host::EncoderOptions video, audio;
    bool noVideo = false, noAudio = false;
};

/// What a conversion did to a track.
struct ConvertTrack
{
    int index = 0;
    std::string kind, codec;               ///< of the source
    std::string encoder;                   ///< empty: copied
    double sourceRate = 0, resultRate = 0; ///< frames per second of pictures; 0 when unknown
    // Items are pictures, blocks of sound or packets.
    long long itemsIn = 0, itemsOut = 0;
    long long doubled = 0, dropped = 0; ///< pictures, by changes of the frame rate
};

struct ConvertReport : JobReport
{
    std::string input, output;
    avTime duration = 0; ///< of the result
    std::vector<ConvertTrack> tracks;
    double wallSeconds = 0;
};

/// Demuxes, decodes, filters, encodes and muxes all tracks of a file. Reading and decoding, filtering, and encoding run
/// on threads of their own. Tracks that are neither picture nor sound are copied where the container carries them.
class ConvertJob
{
public:
    /// Throws JobError and the system's exceptions for what can't be done, before anything is written.
    ConvertJob(const ConvertRequest& request, const IProgress& progress);
    ConvertReport Run(IProgress& progress);

private:
    /// What the threads count; the report takes it when they are done.
    struct Counts
    {
        std::atomic<long long> in{0};     // items decoded
        std::atomic<long long> before{0}; // pictures before changes of the frame rate
        std::atomic<long long> after{0};
        std::atomic<long long> doubled{0};
        std::atomic<long long> hidden{0}; // pictures that nobody can decode
        std::atomic<avTime> end{0};       // of what has come out of the filters
    };

    struct Output
    {
        size_t place; // in the pump
        ConvertTrack report;
        std::shared_ptr<Counts> counts; // null for copied tracks
    };

    void AddTracks();
    void AddPictures(const Host::TrackInfo& track);
    void AddSound(const Host::TrackInfo& track);
    void AddCopied(const Host::TrackInfo& track);
    void AddEncoded(const Host::TrackInfo& track, const SP<Host::TrackEncoder>& encoder, ConvertTrack report,
                    std::shared_ptr<Counts> counts);
    bool HasPlace(const Host::TrackInfo& track);
    static SP<Proc::IStreamVideo> Decode(Host::Demuxer& source, int index, const std::shared_ptr<Counts>& counts);
    SP<Proc::IStreamVideo> Filter(const SP<Proc::IStreamVideo>& stream, int index,
                                  const std::shared_ptr<Counts>& counts) const;
    SP<Proc::IStreamAudio> Filter(const SP<Proc::IStreamAudio>& stream, int index) const;
    SP<Proc::IStreamVideo> MakeStep(const FilterStep& step, SP<Proc::IStreamVideo> stream,
                                    const std::shared_ptr<Counts>& counts) const;
    /// Brings pictures to what the encoder takes.
    SP<Proc::IStreamVideo> Fit(SP<Proc::IStreamVideo> stream, const std::string& encoder, int index);

    const ConvertRequest request;
    const std::vector<FilterStep> videoSteps, audioSteps;
    const Factories factories;
    const SP<Host::Demuxer> demuxer;
    const std::unique_ptr<Host::Muxer> muxer;
    MuxPump pump;
    std::vector<Output> outputs;
    avTime expected = NoTime; // how long the result will be, as far as its tracks know
    std::vector<std::string> warnings;
};

} // namespace Tessor::Jobs
