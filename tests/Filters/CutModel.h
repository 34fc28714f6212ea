#pragma once

#include "Proc/Settings/SettingsFilterCutController.h"
#include "Proc/StreamTemplates/IStreamRaw.h"
#include "tests/support/FakeItems.h"

#include <boost/thread/recursive_mutex.hpp>
#include <random>

namespace Tessor::Test
{

/// A plain generator of numbers: the same on every machine.
class Dice
{
public:
    explicit Dice(uint32_t seed) : engine(seed) {}
    int64_t Roll(int64_t from, int64_t to) { return from + static_cast<int64_t>(engine()) % (to - from + 1); }
    bool OneIn(int64_t n) { return Roll(1, n) == 1; }

private:
    std::mt19937 engine;
};

/// Kept time, plainly: pieces in order that do not touch.
struct KeptTime
{
    std::vector<std::pair<avTime, avTime>> pieces;

    bool Holds(avTime t) const;
    /// Kept time within the stretch.
    avTime Within(avTime start, avTime end) const;
    void Add(avTime start, avTime end);
};

/// A track of a generated file: packets in decoding order, all times but the positions.
struct ModelTrack
{
    static constexpr avTime picture = 200 * ms;

    MediaType type = MediaType::Video;
    std::string codec;
    bool recodable = false; ///< an encoder is found for it: cuts are exact
    bool open = false;      ///< pictures are shown before their key picture
    bool oversized = false; ///< its groups are larger than a queue
    int early = 0;          ///< a seek lands that many key packets before the last one that would do
    Script packets;

    static ModelTrack MakeVideo(Dice& dice, avTime duration);
    static ModelTrack MakeSound(Dice& dice, avTime duration);
    static ModelTrack MakeSubtitles(Dice& dice, avTime duration);

    /// The packet where a seek lands.
    size_t Land(avTime target) const;
    /// What is read from there on, with positions as a demuxer sets them. Leading pictures go where nothing before them
    /// was read, and where a kept piece starts with their key picture.
    Script Lay(size_t from, const KeptTime& kept) const;
    /// The whole groups that a cut would run through are kept too; false when there was none.
    bool Widen(KeptTime& kept) const;
    /// What a cut delivers of it from there on, by the definition: values in one byte, DTS where packets only moved.
    Script Cut(size_t from, const KeptTime& kept) const;

private:
    avTime FirstShown(size_t key) const;
};

/// Several tracks, of which seeks move one or all.
class ModelFile
{
public:
    ModelFile();
    ~ModelFile();

    std::vector<ModelTrack> tracks;
    avTime duration = 0;
    KeptTime kept;       ///< as the demuxer was told
    bool shared = false; ///< there is one place in the file: all tracks move together
    int64_t failing = 0; ///< one of that many reads throws "scripted failure"; 0: none does
    /// The streams of all tracks; the file outlives them.
    std::vector<SP<Proc::IStreamRaw>> Open();

private:
    friend class ModelStream;

    void Seek(size_t track);

    boost::recursive_mutex mutex; // as of a demuxer
    std::vector<SP<class ModelStream>> streams;
    Dice dice{1};
};

} // namespace Tessor::Test
