#pragma once

#include "jobs/cut/GroupReader.h"

#include <map>

namespace Tessor::Jobs
{

/// The pictures around a time; NoTime where there is none.
struct PicturesAround
{
    avTime standing = NoTime; ///< start of the last one that begins at or before the time
    avTime next = NoTime;     ///< start of the first one after it
    avTime end = NoTime;      ///< of all that is shown, where there is no next one
};

/// The groups of a compressed video stream that somebody asked for: each is read once, however many bounds fall in it.
class TESSOR_API GroupCache
{
public:
    explicit GroupCache(const SP<Proc::IStreamRaw>& stream) : stream(stream) {}

    /// The group that shows what is seen at the time; the last one after the end. Moves the stream.
    const Group& FindGroup(avTime time);
    /// The first seam at or after the time. Moves the stream.
    Seam FindSeam(avTime time) { return FindGroup(time - 1).next; }
    /// The last entry point (time of a key picture) at or before the time; the first one when there is none. Moves the
    /// stream.
    avTime FindEntry(avTime time);
    /// Moves the stream.
    PicturesAround FindPictures(avTime time);
    /// Finds the groups of many times on one way through the file. Moves the stream. What other selected tracks have on
    /// the way is held in memory until the next seek: none should be.
    void Gather(std::vector<avTime> times);

private:
    struct Known
    {
        avTime until; // the answer for all times before, down to the key of the map
        Group group;
    };

    const Group* Recall(avTime time) const;
    const Group& Remember(avTime time, const Group& group);

    const SP<Proc::IStreamRaw> stream;
    std::map<avTime, Known> groups;
};

} // namespace Tessor::Jobs
