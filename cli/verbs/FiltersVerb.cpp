#include "cli/Printable.h"
#include "cli/Report.h"
#include "jobs/chains/FilterCatalog.h"
#include "jobs/chains/FilterValue.h"

#include <fmt/format.h>

namespace Tessor::Cli
{

using namespace Jobs;

namespace
{

const char* KindOf(const CatalogRow& row)
{
    return row.kind == MediaType::Video ? "video" : "audio";
}

std::string ExampleOf(const CatalogRow& row)
{
    const Proc::FieldInfo key = row.GetKeys().front();
    const std::string value = FormatValue(key.value);
    return fmt::format("--{}f {}={}={}", row.kind == MediaType::Video ? "v" : "a", row.name, key.key,
                       value.empty() ? "..." : value);
}

void PrintRow(const CatalogRow& row, const Factories& factories)
{
    Print("{} ({}): {}\n", row.name, KindOf(row), row.summary);
    for (const Proc::FieldInfo& key : row.GetKeys())
    {
        const std::string value = FormatValue(key.value);
        Print("  {:<12} {}{}{}{}\n", key.key, DescribeValues(key), value.empty() ? "" : fmt::format(" [{}]", value),
              key.help.empty() ? "" : ": ", key.help);
    }
    const std::vector<std::string> implementations = ListImplementations(row, factories);
    if (!implementations.empty())
        Print("  implementations: {}\n", fmt::join(implementations, ", "));
}

class FiltersVerb final : public Verb
{
public:
    std::string GetName() const override { return "filters"; }
    std::string GetSummary() const override { return "list the filters of chains, with their keys"; }
    OptionTable GetOptions() override
    {
        return {{"NAME", "", "explain this filter alone", &name, {}, false, false, ListNames}};
    }
    std::vector<Example> GetExamples() const override
    {
        return {{"tessor filters scale", "a filter, its keys and their defaults"}};
    }

    ExitCode Run(const CommonOptions& common) override
    {
        std::vector<const CatalogRow*> rows;
        if (!name.empty())
            rows = FindFilters(name);
        else
            for (const CatalogRow& row : GetCatalog())
                rows.push_back(&row);
        const Factories factories = Factories::Make();
        PrintReport(
            common, [&] { return ToJson(rows, factories); }, [&] { PrintText(rows, factories); });
        return ExitCode::Done;
    }

private:
    static std::vector<std::string> ListNames()
    {
        std::vector<std::string> names;
        for (const CatalogRow& row : GetCatalog())
            names.push_back(row.name);
        return names;
    }

    void PrintText(const std::vector<const CatalogRow*>& rows, const Factories& factories) const
    {
        for (const CatalogRow* row : rows)
        {
            PrintRow(*row, factories);
            if (!name.empty())
                Print("  for example: {}\n", ExampleOf(*row));
        }
    }

    std::string name;
};

} // namespace

std::unique_ptr<Verb> MakeFiltersVerb()
{
    return std::make_unique<FiltersVerb>();
}

} // namespace Tessor::Cli
