#include "jobs/chains/FilterCatalog.h"
#include "jobs/chains/FilterValue.h"
#include "jobs/reports/DocumentParts.h"
#include "jobs/reports/PropertyJson.h"

#include <cmath>

namespace Tessor::Jobs
{

namespace
{

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
    Json json = {{"name", row.name},
                 {"kind", row.kind == MediaType::Video ? "video" : "audio"},
                 {"summary", row.summary},
                 {"implementations", ListImplementations(row, factories)},
                 {"keys", Json::array()}};
    for (const Proc::FieldInfo& key : row.GetKeys())
        json["keys"].push_back(KeyToJson(key));
    return json;
}

} // namespace

Json ToJson(const std::vector<const CatalogRow*>& rows, const Factories& factories)
{
    Json json = BeginDocument();
    json["filters"] = Json::array();
    for (const CatalogRow* row : rows)
        json["filters"].push_back(RowToJson(*row, factories));
    return json;
}

} // namespace Tessor::Jobs
