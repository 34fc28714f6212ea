#include "ffhost/io/reading/ClockSurvey.h"

#include "ffhost/io/reading/TrackClock.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <cmath>
#include <optional>

namespace Tessor::Host
{

namespace
{

// Bytes. The last sample is taken far enough from the end for a packet of the stream to follow.
constexpr long long SHORT_FILE = 4 << 20;
constexpr long long SHORT_STEP = 128 << 10; // is not split further
constexpr long long LAST_SAMPLE = 1 << 20;  // before the end
constexpr size_t FIRST_SAMPLES = 16;
constexpr size_t MAX_SAMPLES = 100;
constexpr int MAX_READS = 1000;         // packets of a stream that have no time
constexpr double TOLERANCE = 2e6;       // microseconds
constexpr double PLAUSIBLE_CHANGE = 10; // how much slower or faster than usual a stretch may be

/// A packet with a time.
struct Sample
{
    long long position;
    avTime time;
    bool settled = false; // no jump lies between this one and the next
};

/// Looks for the step between two samples where the clock starts anew. The step whose time is furthest from what its
/// bytes take at the usual rate is halved until it is short or the samples are used up.
class ClockSurvey
{
public:
    ClockSurvey(SourceFile& file, int stream) : file(file), stream(stream) {}

    bool FindJump(long long size)
    {
        const long long step = (size - LAST_SAMPLE) / static_cast<long long>(FIRST_SAMPLES);
        for (size_t i = 0; i <= FIRST_SAMPLES; ++i)
            Add(samples.end(), Take(step * static_cast<long long>(i)));
        for (; taken < MAX_SAMPLES && samples.size() > 1; ++taken)
        {
            UpdateRate();
            const auto worst = FindWorst();
            if (Misfit(*worst) < TOLERANCE)
                return false;
            if (Split(worst))
                continue;
            // too short to be halved: the two times decide
            if (!TrackClock::GoesOn(worst->time, (worst + 1)->time))
                return true;
            worst->settled = true;
        }
        return HasImplausible();
    }

private:
    using Place = std::vector<Sample>::iterator;

    /// The first packet with a time after a place in the file.
    std::optional<Sample> Take(long long position)
    {
        if (!file.SeekToByte(position))
            return std::nullopt;
        for (int i = 0; i < MAX_READS; ++i)
        {
            const PacketPtr packet = file.Read();
            if (!packet)
                break;
            if (packet->stream_index == stream && packet->dts != AV_NOPTS_VALUE && packet->pos >= 0)
                return Sample{packet->pos,
                              av_rescale_q(packet->dts, file.Stream(stream).time_base, AVRational{1, AV_TIME_BASE})};
        }
        return std::nullopt;
    }

    /// False when it does not lie between its neighbours.
    bool Add(Place before, const std::optional<Sample>& sample)
    {
        if (!sample || (before != samples.begin() && (before - 1)->position >= sample->position) ||
            (before != samples.end() && before->position <= sample->position))
            return false;
        samples.insert(before, *sample);
        return true;
    }

    bool Split(Place from)
    {
        const long long bytes = (from + 1)->position - from->position;
        return bytes > SHORT_STEP && Add(from + 1, Take(from->position + bytes / 2));
    }

    // Of the step from a sample to the one after it, which a vector has right beside it.
    static double Bytes(const Sample& from) { return static_cast<double>((&from + 1)->position - from.position); }
    static double Time(const Sample& from) { return static_cast<double>((&from + 1)->time - from.time); }

    /// Bytes a microsecond, by the step in the middle of all: a mean would be moved by the very jump that is sought.
    void UpdateRate()
    {
        std::vector<double> rates;
        for (auto from = samples.begin(); from + 1 != samples.end(); ++from)
            if (Time(*from) > 0)
                rates.push_back(Bytes(*from) / Time(*from));
        if (rates.empty())
            return;
        const auto middle = rates.begin() + static_cast<std::ptrdiff_t>(rates.size() / 2);
        std::nth_element(rates.begin(), middle, rates.end());
        rate = *middle;
    }

    double Misfit(const Sample& from) const { return from.settled ? 0 : std::abs(Time(from) - Bytes(from) / rate); }

    Place FindWorst()
    {
        return std::max_element(samples.begin(), samples.end() - 1,
                                [&](const Sample& a, const Sample& b) { return Misfit(a) < Misfit(b); });
    }

    /// Steps that a change of the bit rate can't explain.
    bool HasImplausible() const
    {
        for (auto from = samples.begin(); samples.size() > 1 && from + 1 != samples.end(); ++from)
        {
            const double expected = Bytes(*from) / rate, time = Time(*from);
            if (Misfit(*from) > TOLERANCE && (time * PLAUSIBLE_CHANGE < expected || time > expected * PLAUSIBLE_CHANGE))
                return true;
        }
        return false;
    }

    SourceFile& file;
    const int stream;
    std::vector<Sample> samples; // by position
    size_t taken = FIRST_SAMPLES;
    double rate = 1;
};

} // namespace

bool HasClockJump(SourceFile& file, int stream)
{
    const int flags = file.Context().iformat->flags;
    if (!(flags & AVFMT_TS_DISCONT) || flags & (AVFMT_NOBINSEARCH | AVFMT_NO_BYTE_SEEK))
        return false;
    const long long size = file.GetProgress().second;
    return size < SHORT_FILE || ClockSurvey(file, stream).FindJump(size);
}

} // namespace Tessor::Host
