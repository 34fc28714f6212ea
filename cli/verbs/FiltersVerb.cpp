#include "cli/Report.h"
#include "jobs/chains/FilterCatalog.h"
#include "jobs/chains/FilterValue.h"
#include "jobs/reports/PropertyJson.h"

#include <cmath>
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

Json KeyToJson(const Proc::FieldInfo& key)
{
    Json json = {
        {"key", key.key}, {"help", key.help}, {"default", PropertyToJson(key.value)}, {"values", DescribeValues(key)}};
    if (!key.choices.empty())
        json["choices"] = key.choices;
    const Core::Property::Type type = key.value.GetType();
    const bool number =
        type == Core::Property::TypeInt64 || type == Core::Property::TypeDouble || type == Core::Property::TypeRatio;
    if (number && std::isfinite(key.least))
        json["least"] = key.least;
    if (number && std::isfinite(key.most))
        json["most"] = key.most;
    return json;
}

Json RowToJson(const CatalogRow& row, const Factories& factories)
{
    Json json = {{"name", row.name}, {"kind", KindOf(row)}, {"summary", row.summary}};
    json["implementations"] = ListImplementations(row, factories);
    json["keys"] = Json::array();
    for (const Proc::FieldInfo& key : row.GetKeys())
        json["keys"].push_back(KeyToJson(key));
    return json;
}

std::string Example(const CatalogRow& row)
{
    const Proc::FieldInfo key = row.GetKeys().front();
    const std::string value = FormatValue(key.value);
    return fmt::format("--{}f {}={}={}", row.kind == MediaType::Video ? "v" : "a", row.name, key.key,
                       value.empty() ? "..." : value);
}

void PrintRow(const CatalogRow& row, const Factories& factories)
{
    fmt::print("{} ({}): {}\n", row.name, KindOf(row), row.summary);
    for (const Proc::FieldInfo& key : row.GetKeys())
    {
        const std::string value = FormatValue(key.value);
        fmt::print("  {:<12} {}{}{}{}\n", key.key, DescribeValues(key),
                   value.empty() ? "" : fmt::format(" [{}]", value), key.help.empty() ? "" : ": ", key.help);
    }
    const std::vector<std::string> implementations = ListImplementations(row, factories);
    if (!implementations.empty())
        fmt::print("  implementations: {}\n", fmt::join(implementations, ", "));
}

class FiltersVerb final : public Verb
{
public:
    std::string GetName() const override { return "filters"; }
    std::string GetSummary() const override { return "list the filters of chains, with their keys"; }
    OptionTable GetOptions() override { return {{"NAME", "", "explain this filter alone", &name}}; }

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
    static Json ToJson(const std::vector<const CatalogRow*>& rows, const Factories& factories)
    {
        Json json = {{"filters", Json::array()}};
        for (const CatalogRow* row : rows)
            json["filters"].push_back(RowToJson(*row, factories));
        return json;
    }

    void PrintText(const std::vector<const CatalogRow*>& rows, const Factories& factories) const
    {
        for (const CatalogRow* row : rows)
        {
            PrintRow(*row, factories);
            if (!name.empty())
                fmt::print("  for example: {}\n", Example(*row));
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
