#pragma once

#include "Proc/Filters/Filters/Cutting/CutOutput.h"
#include "Proc/Filters/Filters/Cutting/CutStream.h"
#include "Proc/Filters/Filters/Cutting/PacketQueueWithGOP.h"
#include "Proc/Filters/Filters/Cutting/RecodeSearch.h"

#include <algorithm>
#include <atomic>

namespace Tessor::Proc
{

/// The cut stream for compressed packets. It takes time out of a stream without decoding it, a group of pictures at a
/// time:
///
///     kept      |K p p p|K p p p|            passes as it is, only moved in time
///     deleted   |///////|///////|            is dropped, with a jump over it where that pays
///     cut       |K p/////|                   is re-encoded, and only this group; without an encoder it is kept whole
///                                            and the cut moves to its edge for all streams of the file
///     too large |K p p p p|p p p|            comes in pieces that none but the first can be decoded without: it is
///                                            kept whole, wherever a cut runs through it
///
/// Only video is ever re-encoded; packets of other kinds are cut one by one by their time.
///
/// The source may be put back at any time, for all sources of a file move together: `handled` says what is new.
class TESSOR_API FilterCutControllerStreamRawImpl final : public CutStream<IStreamRaw>, public RefCountImpl
{
public:
    /// Searches for an encoder that can stand in for the source's, which reads packets from the source. Throws
    /// Core::NotEnoughResource when the encoder is there but busy: the caller may try again later.
    FilterCutControllerStreamRawImpl(const SP<IStreamRaw>& source, const CutShare& share,
                                     const SP<ICodecFactory>& factory);
    ~FilterCutControllerStreamRawImpl() override { LeaveJumps(); }

    /// True when cuts are exact: the stream can re-encode, or needs no key frames.
    bool CanCutAnywhere() const;

private:
    // IStream
    SP<Conf::IFormatCodec> GetFormatCodec() const override;
    Core::Property GetStatistic() const override;
    MediaType GetMediaType() const override { return parentStream->GetMediaType(); }

    // IStreamCutInterval
    bool IsRawStream() override { return true; }
    bool KeyframeSeek() override { return !CanCutAnywhere(); }

    // CutStream
    bool PassesUncut() override;
    void BeginRead() override;
    Turn TakeTurn() override;
    void BeginSeek() override;
    bool SaveOne(avTime start) override;

    /// A place in the source's order of groups: the latest entry up to there, and how many groups came since it did,
    /// for entries may repeat or step back. It is the same on every way that begins at or before the latest entry.
    struct Place
    {
        avTime entry = NoTime;
        uint64_t count = 0;

        void Advance(avTime next)
        {
            count = next > entry ? 1 : count + 1;
            entry = std::max(entry, next);
        }
        auto operator<=>(const Place&) const = default; // NOLINT(modernize-use-nullptr): not in what is generated
    };

    static constexpr uint64_t NOT_FOLLOWED = UINT64_MAX;

    void UpdateFormatCodec(Conf::IFormatCodec& format) const;
    SP<IDataPacket> TakeOutput();
    void FollowSource();
    avTime GetStartLimit() const;
    bool ReadGOP();
    /// Reads one group and does with it what the cut demands; finished packets go to the output. Returns where to
    /// jump from, or NoTime. `sought`: the last thing done was a seek, and it has not yielded a kept group yet.
    avTime GetNextSeekPositionAfterGOP(bool& sought);
    avTime CutGOP(avTime gopStart, avTime gopEnd, bool& sought);
    avTime CutPiece(avTime gopEnd, bool& sought);
    avTime DropGOP(avTime gopStart, bool& sought);
    void Reread(avTime start);
    void PassGOP();
    SP<IDataPacket> AddPacketHeader(const SP<IDataPacket>& packet) const;
    void RecodeGOP();
    bool SaveGOP(avTime start);

    const SP<ICodecFactory> codecFactory;
    const RecodeAbility ability; // what the search in the constructor found
    const bool video;
    bool soughtInRead = false;  // `sought` of the reader's turns; valid within one read
    bool seekRequested = false; // `sought` across reads: a seek came since the last kept group
    CutOutput output;           // finished packets waiting to be read; they survive a seek
    // Handled up to here: of all groups up to this place in the source's order, what is kept has gone to the output,
    // and of the groups after it nothing has. Passing and re-encoding move it forward, and a consumer's seek takes it
    // away. A move of the sources leaves it: groups that come again are those at or before it, and are skipped. What
    // was dropped does not move it: it may come again, and is judged anew, as the kept time may have widened meanwhile.
    Place handled;
    Place here;                        // of the group read last; starts anew when the source is moved
    uint64_t movesSeen = NOT_FOLLOWED; // GetMoveCount when the source was followed last; NOT_FOLLOWED from a seek on
    avTime savedTo = NoTime;           // start of the last deleted stretch that all is handled before; until a seek
    avTime firstPiece = NoTime;        // position of the first piece of the group that comes in pieces
    avTime pieceEnd = NoTime;          // where the last piece of it ended
    bool piecesKept = false;           // of that group some piece has gone out, or had before it came again
    avTime rereadFrom = NoTime; // where a dropped piece begins that is needed after all; until it is gone back to
    PacketQueueWithGOP queue{MediaType::None}; // the group at work, and the key frame of the next one
    std::atomic<uint64_t> packetsOut{0};       // for statistics
};

} // namespace Tessor::Proc
