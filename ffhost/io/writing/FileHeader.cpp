#include "ffhost/io/writing/FileHeader.h"

#include "ffhost/FormatCompat.h"

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavutil/display.h>
}

#include <algorithm>
#include <cctype>
#include <cstring>
#include <new>
#include <set>

namespace Tessor::Host
{

namespace
{

constexpr AVRational MICROSECONDS = {1, 1000000};

static_assert(DEFAULT_DISPOSITION == AV_DISPOSITION_DEFAULT);

/// The brands of ISO/IEC 14496-12, and the statistics of Matroska's writers, which may end in a language.
bool IsStale(const std::string& key)
{
    static const std::set<std::string> stale = {"major_brand", "minor_version", "compatible_brands", "encoder",
                                                "DURATION",    "BPS",           "NUMBER_OF_FRAMES",  "NUMBER_OF_BYTES"};
    const std::string stem = key.substr(0, key.find("-eng"));
    return stale.count(stem) || key.compare(0, 12, "_STATISTICS_") == 0;
}

void CopyTags(const Tags& tags, AVDictionary** target)
{
    for (const auto& [key, text] : tags)
        if (!IsStale(key))
            av_dict_set(target, key.c_str(), text.c_str(), AV_DICT_MULTIKEY);
}

void AddSideData(AVStream& stream, AVPacketSideDataType type, const void* data, size_t size)
{
    uint8_t* copy = FFmpeg::NewSideData(stream, type, size);
    if (!copy)
        throw std::bad_alloc();
    std::memcpy(copy, data, size);
}

} // namespace

// Readers of Matroska give such tags of other containers in capitals. These are carried on, but are no loss.
bool FileHeader::IsBookkeeping(std::string key)
{
    if (IsStale(key))
        return true;
    std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return std::tolower(c); });
    return IsStale(key);
}

void FileHeader::AddTrack(const TrackInfo& source, const AVCodecParameters& parameters)
{
    tracks.push_back({source, parameters});
}

bool FileHeader::Fits(const TrackInfo& source, const AVCodecParameters& parameters) const
{
    ContextPtr trial = MakePlainContext();
    AddStream(*trial, {source, parameters});
    return !TryHeader(std::move(trial)).empty();
}

// Some muxers choose their ticks only when the header is written, which waits for the first packets. So they are asked
// beforehand.
FileHeader::ContextPtr FileHeader::MakeContext() const
{
    const std::vector<AVRational> timeBases = TryHeader(MakePlainContext());
    ContextPtr context = MakePlainContext();
    for (size_t i = 0; i < timeBases.size(); ++i)
        context->streams[i]->time_base = timeBases[i];
    return context;
}

FileHeader::ContextPtr FileHeader::MakePlainContext() const
{
    AVFormatContext* made = nullptr;
    if (avformat_alloc_output_context2(&made, container.GetFormat(), nullptr, path.c_str()) < 0)
        throw std::bad_alloc();
    ContextPtr target(made);
    CopyTags(tags, &target->metadata);
    for (const Track& track : tracks)
        AddStream(*target, track);
    return target;
}

void FileHeader::AddStream(AVFormatContext& target, const Track& track) const
{
    AVStream* stream = avformat_new_stream(&target, nullptr);
    if (!stream || avcodec_parameters_copy(stream->codecpar, &track.parameters) < 0)
        throw std::bad_alloc();
    const TrackInfo& source = track.source;
    stream->time_base = container.ChooseTimeBase(source);
    // with any other mark beside it libavformat would take it for a track of pictures
    stream->disposition = source.attachedPicture ? AV_DISPOSITION_ATTACHED_PIC : source.disposition;
    stream->sample_aspect_ratio = stream->codecpar->sample_aspect_ratio;
    if (source.frameRateNum > 0 && source.frameRateDen > 0)
        stream->avg_frame_rate = {source.frameRateNum, source.frameRateDen};
    CopyTags(source.tags, &stream->metadata);
    if (const AVDictionaryEntry* language = av_dict_get(stream->metadata, "language", nullptr, 0))
        av_dict_set(&stream->metadata, "language", container.NameLanguage(language->value).c_str(), 0);
    for (const auto& [type, bytes] : source.sideData)
        AddSideData(*stream, static_cast<AVPacketSideDataType>(type), bytes.data(), bytes.size());
    if (source.displayMatrix.size() == 9)
        AddSideData(*stream, AV_PKT_DATA_DISPLAYMATRIX, source.displayMatrix.data(), 9 * sizeof(int32_t));
}

// Written to memory: nothing else tells what a muxer takes. A header can be written only once, hence a trial context.
std::vector<AVRational> FileHeader::TryHeader(ContextPtr trial) const
{
    if (avio_open_dyn_buf(&trial->pb) < 0)
        throw std::bad_alloc();
    AVDictionary* options = container.MakeOptions(*trial);
    std::vector<AVRational> timeBases;
    if (avformat_write_header(trial.get(), &options) >= 0)
        for (unsigned i = 0; i < trial->nb_streams; ++i)
            timeBases.push_back(trial->streams[i]->time_base);
    av_dict_free(&options);
    // Freeing the muxer may still write, so the buffer goes last.
    AVIOContext* buffer = trial->pb;
    trial.reset();
    uint8_t* bytes = nullptr;
    avio_close_dyn_buf(buffer, &bytes);
    av_free(bytes);
    return timeBases;
}

AVDictionary* FileHeader::MakeOptions(const AVFormatContext& context) const
{
    AVDictionary* options = container.MakeOptions(context);
    if (const int timescale = GetVideoTimescale())
        av_dict_set_int(&options, "video_track_timescale", timescale, 0);
    return options;
}

/// One for all tracks of video: several that differ leave it to the muxer.
int FileHeader::GetVideoTimescale() const
{
    std::set<int> timescales;
    for (const Track& track : tracks)
        if (track.source.type == MediaType::Video && !track.source.attachedPicture)
            timescales.insert(container.ChooseVideoTimescale(track.source));
    return timescales.size() == 1 ? *timescales.begin() : 0;
}

void FileHeader::AddChapters(AVFormatContext& context, avTime shift) const
{
    if (chapters.empty() || !container.CarriesChapters())
        return;
    context.chapters = static_cast<AVChapter**>(av_calloc(chapters.size(), sizeof(AVChapter*)));
    if (!context.chapters)
        throw std::bad_alloc();
    for (const ChapterInfo& chapter : chapters)
    {
        AVChapter* made = static_cast<AVChapter*>(av_mallocz(sizeof(AVChapter)));
        if (!made)
            throw std::bad_alloc();
        made->id = static_cast<int64_t>(context.nb_chapters) + 1;
        made->time_base = MICROSECONDS;
        made->start = std::max<avTime>(AddTime(chapter.start, shift), 0);
        made->end = std::max<avTime>(AddTime(chapter.end, shift), made->start);
        CopyTags(chapter.tags, &made->metadata);
        context.chapters[context.nb_chapters++] = made;
    }
}

std::vector<std::string> FileHeader::GetLosses() const
{
    std::vector<std::string> losses = FindLostTags(tags, Container::TagOwner::File, "");
    if (!chapters.empty() && !container.CarriesChapters())
        losses.emplace_back("chapters");
    return losses;
}

std::vector<std::string> FileHeader::GetLosses(size_t track) const
{
    const TrackInfo& source = tracks.at(track).source;
    const std::string of = " of track " + std::to_string(source.index);
    std::vector<std::string> losses =
        FindLostTags(source.tags, source.picture ? Container::TagOwner::Cover : Container::TagOwner::Track, of);
    for (const auto& [key, text] : source.tags)
        if (key == "language" && text != "und" && container.CarriesTag(key, Container::TagOwner::Track) &&
            container.NameLanguage(text).empty())
            losses.emplace_back("the language ").append(text).append(of);
    const std::vector<int32_t>& matrix = source.displayMatrix;
    if (matrix.size() == 9 && av_display_rotation_get(matrix.data()) != 0 && !container.CarriesRotation())
        losses.emplace_back("rotation" + of);
    return losses;
}

std::vector<std::string> FileHeader::FindLostTags(const Tags& of, Container::TagOwner owner,
                                                  const std::string& what) const
{
    std::vector<std::string> lost;
    for (const auto& [key, text] : of)
        if (!IsBookkeeping(key) && !container.CarriesTag(key, owner))
            lost.emplace_back("tag \"").append(key).append("\"").append(what);
    return lost;
}

} // namespace Tessor::Host
