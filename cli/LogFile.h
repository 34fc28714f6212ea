#pragma once

#include <glog/logging.h>
#include <string>
#include <vector>

namespace Tessor::Cli
{

/// All that the library traces, appended to a file whose first line says that it is a log of ours. glog's own files
/// bring links along, which take the place of whatever has their names.
class LogFile final : private google::LogSink
{
public:
    /// Throws UserError for what is no log of ours, or is one of `others`, the files of the job, under whatever name.
    LogFile(const std::string& path, const std::vector<std::string>& others);
    ~LogFile() override;

    /// Throws UserError when not all could be written.
    void Check() const;

private:
    void send(google::LogSeverity severity, const char* fullName, const char* file, int line,
              const google::LogMessageTime& time, const char* message, size_t size) override;
    using google::LogSink::send;

    bool IsOurs() const;
    void Write(const std::string& text);

    const std::string path;
    int handle = -1;
    int error = 0; // errno of the first write that failed; glog calls one at a time
};

} // namespace Tessor::Cli
