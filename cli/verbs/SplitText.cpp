#include "cli/verbs/SplitText.h"

#include "cli/Printable.h"
#include "cli/Progress.h"
#include "cli/Report.h"
#include "cli/UserError.h"

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

void PrintPiece(const CutReport& piece)
{
    Print("{}: {}", piece.output, T2S(piece.resultDuration));
    for (const Range& range : piece.intervals)
        Print(", {} to {}", T2S(range.start), T2S(range.end));
    long long recoded = 0;
    for (const TrackReport& track : piece.tracks)
        recoded += track.recodedPackets;
    if (recoded > 0)
        Print(", {} re-encoded", recoded);
    if (piece.verdict)
        Print(", verified: {}", piece.verdict->IsGood() ? "good" : "NOT good");
    Print("\n");
}

} // namespace

ExitCode Split(const SplitSettings& settings, const CommonOptions& common)
{
    const SplitReport report =
        Follow(common, "split", [&](IProgress& progress) { return SplitJob(settings).Run(progress); });
    PrintReport(common, report,
                [&]
                {
                    for (const CutReport& piece : report.pieces)
                        PrintPiece(piece);
                });
    for (const CutReport& piece : report.pieces)
        if (piece.verdict && !piece.verdict->IsGood())
            throw UserError(ExitCode::VerificationFailed, piece.output + ": " + piece.verdict->faults.front());
    return ExitCode::Done;
}

} // namespace Tessor::Cli
