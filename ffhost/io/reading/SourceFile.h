#pragma once

#include "Fnd/Time.h"
#include "ffhost/io/MediaInfo.h"
#include "ffhost/io/PacketPtr.h"
#include "ffhost/io/reading/DemuxerSettings.h"
#include "ffhost/io/reading/HeaderSurvey.h"
#include "ffhost/io/reading/InputGate.h"
#include "ffhost/io/reading/PictureUnpacker.h"

#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct AVFormatContext;
struct AVPacket;
struct AVStream;

namespace Tessor::Host
{

/// libavformat's reader of a file, which can be put back to its beginning as if nothing had been read. Whatever fails
/// below libavformat, the disk or the memory, is ReadFailure "FILE: cause" or std::bad_alloc, also where a
/// demuxer has taken it for the end; what a demuxer makes nothing of is damage, and reading goes on after it.
class TESSOR_API SourceFile
{
public:
    /// Throws Core::IOException "FILE: cause".
    SourceFile(const std::string& path, const DemuxerSettings& settings);

    /// The next packet of a selected stream in file order; null at the end, and where damage leads nowhere.
    PacketPtr Read();
    /// Moves to before `time` (microseconds of the file's own clock) by the entry points of `stream`.
    bool Seek(int stream, avTime time);
    /// Moves to a place in the file, wherever between packets that may be.
    bool SeekToByte(long long position);
    /// To the beginning, but not before the next packet is read: a seek makes that needless.
    void Rewind();
    /// Nothing has been read since the beginning.
    bool IsAtStart() const { return atStart; }

    void Select(int stream);
    void SelectNone();
    bool IsSelected(int stream) const { return selected[static_cast<size_t>(stream)]; }

    /// Opens the file anew where reading has met streams that its beginning did not tell: they are searched for as far
    /// as that is reasonable. False where there is nothing to gain; otherwise all that was known of the streams is
    /// void.
    bool LookDeeper();
    /// Those that are not among the streams all the same.
    const std::vector<LateStream>& GetLateStreams() const { return late; }

    AVFormatContext& Context() const { return *context; }
    int StreamCount() const { return static_cast<int>(selected.size()); }
    AVStream& Stream(int index) const;
    /// Why the header that the container has of a stream of H.264 or HEVC is unusable; empty where it isn't. Its
    /// packets may have brought another one.
    std::string GetHeaderFault(int stream) const;
    /// The container tells the place and the times of each packet.
    bool IsIndexed() const;
    /// No index and no times of its own: places are only found by reading from the beginning.
    bool IsElementary() const;
    std::pair<long long, long long> GetProgress() const;
    /// Places that gave no packet, and packets marked corrupt, since the beginning.
    long long GetDamagedCount() const { return damaged; }

private:
    struct ContextDeleter
    {
        void operator()(AVFormatContext* context) const;
    };

    int CallWatched(const std::function<int()>& call);
    void Check(const InputGate& used) const;
    static int IsInterrupted(void* file);
    void Open();
    void TakeOver(AVFormatContext* opened, std::unique_ptr<InputGate> itsGate);
    void Reopen();
    bool SeekFrame(int stream, int64_t place, int flags);
    bool SeekToFirst();
    void ReplaceHeaders();
    void FindStreams();
    void FindPacked();
    void ApplySelection();
    bool Takes(AVPacket& packet);
    bool Unpack(AVPacket& packet);
    bool MovedOn();
    void ForgetPacked();
    void ForgetGuess(AVPacket& packet) const;
    void NoteLate(const AVPacket& packet);
    [[noreturn]] void Fail(const std::string& cause) const;

    const std::string path;
    const DemuxerSettings settings;
    std::unique_ptr<InputGate> gate;                          // what the context reads through
    std::unique_ptr<AVFormatContext, ContextDeleter> context; // closed before its gate is
    bool watching = false;                                    // while a call of libavformat's reads without us
    std::exception_ptr interruption;                          // what the checkpoint threw in it; until the call is back
    std::map<int, FoundHeader> headers;                       // by stream, those in place of the container's
    std::map<int, PictureUnpacker> packed;                    // by stream, those whose pictures are packed
    std::vector<LateStream> late;                             // met in reading, each once
    std::vector<bool> selected;                               // by stream; what is not selected is never delivered
    bool deep = false;      // the beginning alone does not tell all of the streams; from then on
    bool atStart = true;    // until the first packet is read or a seek succeeds
    bool rewinding = false; // the next packet to be read is the first one of the file
    long long furthest = 0; // byte that damage was met at since the beginning
    long long damaged = 0;  // as GetDamagedCount tells
};

} // namespace Tessor::Host
