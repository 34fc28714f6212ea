#pragma once

#include "ffhost/io/reading/Demuxer.h"
#include "ffhost/io/writing/Muxer.h"
#include "jobs/ClosedGaps.h"
#include "jobs/IProgress.h"
#include "jobs/chains/FilterCatalog.h"
#include "jobs/convert/ConvertReport.h"
#include "jobs/convert/ConvertSettings.h"
#include "jobs/convert/DecodedCut.h"
#include "jobs/cut/KeptContent.h"
#include "jobs/repack/MuxPump.h"

#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tessor::Jobs
{

/// One run of a ConvertJob. Reading and decoding, filtering, and encoding run on threads of their own.
class Conversion
{
public:
    /// Opens all files. Throws as the job does.
    Conversion(const ConvertSettings& settings, const IProgress& progress);
    ConvertReport Run(IProgress& progress);

private:
    /// What the threads count; the report takes it when they are done.
    struct Counts
    {
        std::atomic<long long> in{0};     // items decoded, or packets copied
        std::atomic<long long> before{0}; // pictures before changes of the frame rate
        std::atomic<long long> after{0};
        std::atomic<long long> doubled{0};
        std::atomic<long long> hidden{0}; // pictures that nobody can decode
        std::atomic<avTime> end{0};       // of what has come out of the filters
        ClosedGaps gaps;
    };

    struct Output
    {
        size_t place; // in the pump
        ConvertTrack report;
        std::shared_ptr<Counts> counts; // null for sparse tracks
    };

    void ReadCut();
    /// The file, for the next track to be read: cut tracks are read apart from each other.
    Host::Demuxer& SourceOf();
    /// The file for those that are met while others are read: a cut one is read for them alone, and as a whole.
    Host::Demuxer& SourceOfSparse();
    void AddTracks();
    void AddDense(const Host::TrackInfo& track);
    void AddPictures(const Host::TrackInfo& track);
    void AddSound(const Host::TrackInfo& track);
    /// As it is: nothing of it is decoded.
    void AddCopied(const Host::TrackInfo& track);
    void AddSparse(const Host::TrackInfo& track);
    void AddEncoded(const Host::TrackInfo& track, const SP<Host::TrackEncoder>& encoder, ConvertTrack report,
                    std::shared_ptr<Counts> counts);
    bool IsCopied(const Host::TrackInfo& track) const;
    bool HasPlace(const Host::TrackInfo& track);
    Host::EncoderOptions ChooseEncoder(MediaType type, const Host::EncoderOptions& wanted) const;
    /// Throws JobError, which tells `how` the track would have been carried.
    void RequireCarried(const Host::TrackInfo& track, const char* how) const;
    /// Whether anything of it is kept.
    bool HasContent(const Host::TrackInfo& track);
    SP<Proc::IStreamVideo> DecodePictures(Host::Demuxer& source, int index,
                                          const std::shared_ptr<Counts>& counts) const;
    SP<Proc::IStreamAudio> DecodeSound(Host::Demuxer& source, int index, const std::shared_ptr<Counts>& counts) const;
    SP<Proc::IStreamVideo> Filter(const SP<Proc::IStreamVideo>& stream, int index,
                                  const std::shared_ptr<Counts>& counts) const;
    SP<Proc::IStreamAudio> Filter(const SP<Proc::IStreamAudio>& stream, int index) const;
    /// Tells the counts, which live as long as what asks.
    Host::GapLimit LimitGaps(const std::shared_ptr<Counts>& counts) const;
    SP<Proc::IStreamVideo> MakeStep(const FilterStep& step, SP<Proc::IStreamVideo> stream,
                                    const std::shared_ptr<Counts>& counts) const;
    /// Brings pictures to what the encoder takes.
    SP<Proc::IStreamVideo> Fit(SP<Proc::IStreamVideo> stream, const std::string& encoder, int index);

    /// Packets of the tracks that are read apart.
    Host::Damage FindDamageElsewhere() const;

    const ConvertSettings settings;
    const std::vector<FilterStep> videoSteps, audioSteps;
    const Factories factories;
    const SP<Host::Demuxer> demuxer;
    const Host::MediaInfo info; // the source as the result tells of it
    // Of the same file, where its tracks are read apart.
    std::vector<SP<Host::Demuxer>> more; // for pictures and sound after the first such track
    SP<Host::Demuxer> sparse;            // null until it is needed
    // None where all is kept; settled before the tracks.
    std::optional<DecodedCut> cut;
    std::optional<KeptContent> content; // for copied tracks
    const std::unique_ptr<Host::Muxer> muxer;
    MuxPump pump;
    std::vector<Output> outputs;
    avTime expected = NoTime; // how long the result will be, as far as its tracks know
    std::vector<std::string> warnings;
};

} // namespace Tessor::Jobs
