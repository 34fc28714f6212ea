#include "jobs/lists/ListOutput.h"

#include "ffhost/io/StandardStreams.h"
#include "ffhost/io/writing/OutputFile.h"
#include "jobs/JobError.h"
#include "jobs/OutputFile.h"
#include "jobs/cut/KeptRanges.h"
#include "jobs/lists/CutLists.h"

extern "C"
{
#include <libavformat/avio.h>
}

#include <filesystem>

namespace Tessor::Jobs
{

namespace
{

/// The ranges may have moved and come together since they were asked for: the first title in them counts.
std::vector<AskedRange> Titled(const std::vector<Range>& kept, const std::vector<AskedRange>& asked)
{
    std::vector<AskedRange> titled;
    for (const Range& range : kept)
    {
        titled.push_back({range, "", ""});
        for (const AskedRange& one : asked)
            if (titled.back().title.empty() && one.range.start < range.end && one.range.end > range.start)
                titled.back().title = one.title;
    }
    return titled;
}

} // namespace

ListOutput::ListOutput(const std::string& path, const std::string& formatName, const std::vector<std::string>& others,
                       bool overwrite)
    : path(path), format(path.empty() ? nullptr : &ChooseCutListFormat(path, formatName)), overwrite(overwrite)
{
    namespace fs = std::filesystem;
    if (path.empty())
        return;
    if (Host::IsStandardStream(path))
        throw JobError(JobError::BadRequest, "standard output: a cut list is written to a file");
    CheckPlace(path, others, overwrite);
    // what is not there yet is no file that could be told apart by itself
    for (const std::string& other : others)
        if (!other.empty() && fs::absolute(path).lexically_normal() == fs::absolute(other).lexically_normal())
            throw JobError(JobError::BadRequest, path + ": the cut list is another file of the job");
}

void ListOutput::Write(const std::vector<Range>& kept, const std::vector<AskedRange>& asked,
                       const Host::MediaInfo& info) const
{
    if (!format)
        return;
    const std::string text = WriteCutList(*format, Titled(kept, asked), MakeTimeContext(info, nullptr));
    Host::OutputFile file(path);
    avio_write(file.GetContext(), reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    file.Commit(overwrite);
}

} // namespace Tessor::Jobs
