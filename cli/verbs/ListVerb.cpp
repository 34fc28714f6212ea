#include "cli/Printable.h"
#include "cli/Report.h"
#include "ffhost/codecs/Inventory.h"
#include "jobs/TrackSelection.h"
#include "jobs/chains/FilterCatalog.h"

#include <algorithm>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

void PrintRow(const Host::EncoderEntry& row)
{
    Print("{:<18} {:<8} {:<16} {}\n", row.name, KindName(row.type), row.codec, row.title);
}

void PrintRow(const Host::ContainerEntry& row)
{
    Print("{:<18} {:<24} {}{}{}\n", row.name, fmt::format(".{}", fmt::join(row.extensions, " .")), row.title,
          row.video.empty() ? "" : "; pictures " + row.video, row.audio.empty() ? "" : "; sound " + row.audio);
}

void PrintRow(const Host::CodecEntry& row)
{
    Print("{:<18} {:<8} {:<7} {}{}\n", row.name, KindName(row.type), row.decodable ? "decodes" : "", row.title,
          row.encoders.empty() ? "" : fmt::format("; encoders {}", fmt::join(row.encoders, ", ")));
}

void PrintRow(const CatalogRow& row)
{
    Print("{:<18} {:<8} {}\n", row.name, KindName(row.kind), row.summary);
}

template <class Rows>
void Show(const Rows& rows, const CommonOptions& common)
{
    PrintReport(
        common, [&] { return ToJson(rows); },
        [&]
        {
            for (const auto& row : rows)
                PrintRow(row);
        });
}

void ShowFilters(const CommonOptions& common)
{
    std::vector<const CatalogRow*> rows;
    for (const CatalogRow& row : GetCatalog())
        rows.push_back(&row);
    PrintReport(
        common, [&] { return ToJson(rows, Factories::Make()); },
        [&]
        {
            for (const CatalogRow* row : rows)
                PrintRow(*row);
        });
}

struct Kind
{
    const char* name;
    void (*show)(const CommonOptions& common);
};

constexpr Kind kinds[] = {
    {"containers", [](const CommonOptions& common) { Show(Host::ListContainers(), common); }},
    {"encoders", [](const CommonOptions& common) { Show(Host::ListEncoders(), common); }},
    {"codecs", [](const CommonOptions& common) { Show(Host::ListCodecs(), common); }},
    {"filters", ShowFilters},
};

class ListVerb final : public Verb
{
public:
    std::string GetName() const override { return "list"; }
    std::string GetSummary() const override { return "list containers, encoders, codecs or filters"; }
    OptionTable GetOptions() override
    {
        std::vector<std::string> names;
        for (const Kind& row : kinds)
            names.emplace_back(row.name);
        return {{"KIND", "", "what to list: depends on the FFmpeg that is installed", &kind, names, false, true}};
    }
    std::vector<Example> GetExamples() const override
    {
        return {{"tessor list containers", "what the name of a file may end with, and what it is encoded with"}};
    }

    ExitCode Run(const CommonOptions& common) override
    {
        // always found: the option table has the same names for choices
        std::find_if(std::begin(kinds), std::end(kinds), [&](const Kind& row) { return row.name == kind; })
            ->show(common);
        return ExitCode::Done;
    }

private:
    std::string kind;
};

} // namespace

std::unique_ptr<Verb> MakeListVerb()
{
    return std::make_unique<ListVerb>();
}

} // namespace Tessor::Cli
