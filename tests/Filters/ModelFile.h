#pragma once

#include "Proc/Filters/Filters/Cutting/PacketQueue.h"
#include "tests/Filters/ModelTrack.h"
#include "tests/support/ScriptedStream.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>

namespace Tessor::Test
{

/// Several tracks, of which seeks move one or all.
class ModelFile
{
public:
    std::vector<ModelTrack> tracks;
    avTime duration = 0;
    KeptTime kept;       ///< as the demuxer was told
    bool shared = false; ///< there is one place in the file: all tracks move together
    int64_t failing = 0; ///< one of that many reads throws "scripted failure"; 0: none does

    /// The streams of all tracks; the file outlives them.
    std::vector<SP<Proc::IStreamRaw>> Open()
    {
        for (size_t i = 0; i < tracks.size(); ++i)
            streams.emplace_back(new Stream(*this, i));
        return {streams.begin(), streams.end()};
    }

private:
    using FileLock = boost::lock_guard<boost::recursive_mutex>;

    /// Its items are not those of a script.
    class Stream final : public ScriptedStream<Proc::IStreamRaw>
    {
    public:
        Stream(ModelFile& file, size_t index)
            : ScriptedStream("", Conf::IFormatCodecVideo::Create()), file(file), index(index),
              read(Track().Lay(0, file.kept))
        {
            SetDuration(file.duration);
            GetFormatCodec()->GetProperties().SetChildT(Conf::IFormatCodec::TAG_CODEC_ID, Track().codec);
            GetFormatCodec()->GetProperties().SetChildT(Conf::IFormatCodecVideo::TAG_FPS, Core::Property::Ratio(5, 1));
        }

        avTime GetPosition() override
        {
            const FileLock lock(file.mutex);
            return end != NoTime || next == read.size() ? end : read[next].position;
        }
        void RequestSeek(avTime newTarget, SP<Proc::IStream>) override
        {
            const FileLock lock(file.mutex);
            target = std::min(newTarget, file.duration);
        }
        void DoSeek() override { file.Seek(index); }
        MediaType GetMediaType() const override { return Track().type; }
        SP<Proc::IDataPacket> Read() override
        {
            const FileLock lock(file.mutex);
            if (file.failing > 0 && file.dice.OneIn(file.failing))
                Throw<Proc::FilterException>(TESSOR_HERE, "scripted failure");
            if (next == read.size())
                return nullptr;
            const ScriptItem& item = read[next++];
            end = std::max(end, AddTime(item.pts, item.duration));
            return Track().oversized ? MakeFat(item) : CreateFakePacket(item, Track().type);
        }

        void MoveTo(avTime place)
        {
            const size_t from = Track().Land(place);
            read = Track().Lay(from, file.kept);
            next = 0;
            end = target = NoTime;
        }

        avTime target = NoTime; // between RequestSeek and DoSeek

    private:
        const ModelTrack& Track() const { return file.tracks[index]; }

        /// All share one memory.
        SP<Proc::IDataPacket> MakeFat(const ScriptItem& item) const
        {
            constexpr size_t size = Proc::PacketQueue::maxBytes / ModelTrack::fatInQueue + 1, places = 1 << 16;
            static AVBufferRef* const memory = av_buffer_alloc(size + places);
            AVPacket* record = Proc::CreatePacket(0);
            av_buffer_unref(&record->buf);
            record->buf = av_buffer_ref(memory);
            record->data = memory->data + 4 * item.value;
            record->size = static_cast<int>(size);
            for (int i = 0; i < 4; ++i)
                record->data[i] = static_cast<uint8_t>(item.value >> (24 - 8 * i));
            record->flags = item.key ? AV_PKT_FLAG_KEY : 0;
            const SP<Proc::DataPacketFF> packet =
                Proc::DataPacketFF::Create(record, MediaType::Video, item.pts, item.dts, item.duration);
            packet->SetPosition(item.position);
            return packet;
        }

        ModelFile& file;
        const size_t index;
        Script read;         // what comes from the last landing on
        size_t next = 0;     // index in it
        avTime end = NoTime; // of what was read, NoTime after a seek
    };

    void Seek(size_t track)
    {
        const FileLock lock(mutex);
        avTime target = streams[track]->target;
        for (const auto& stream : streams)
            if (shared && stream->target != NoTime)
                target = target == NoTime ? stream->target : std::min(target, stream->target);
        for (size_t i = 0; i < streams.size(); ++i)
            if (target != NoTime && (shared || i == track))
                streams[i]->MoveTo(target);
    }

    boost::recursive_mutex mutex; // as of a demuxer
    std::vector<SP<Stream>> streams;
    Dice dice{1};
};

} // namespace Tessor::Test
