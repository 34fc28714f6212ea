#include "jobs/reports/PropertyJson.h"

#include <set>

namespace Tessor::Jobs
{

namespace
{

using Json = nlohmann::ordered_json;

Json NodeToJson(const Core::Property& node)
{
    std::set<std::string> names;
    for (const Core::Property& child : node)
        names.insert(child.GetName());
    // Children of one name are legal in a tree and lost in an object: then a list of objects with a key each.
    const bool unique = names.size() == node.size();
    Json json = unique ? Json::object() : Json::array();
    for (const Core::Property& child : node)
    {
        if (unique)
            json[child.GetName()] = PropertyToJson(child);
        else
            json.push_back({{child.GetName(), PropertyToJson(child)}});
    }
    return json;
}

} // namespace

nlohmann::ordered_json PropertyToJson(const Core::Property& property)
{
    switch (property.GetType())
    {
    case Core::Property::TypeInt64:
        return property.GetInt64();
    case Core::Property::TypeDouble:
        return property.GetDouble();
    case Core::Property::TypeBool:
        return property.GetBool();
    case Core::Property::TypeString:
        return property.GetString();
    case Core::Property::TypeRatio:
        return std::to_string(property.GetRatio().numerator()) + "/" +
               std::to_string(property.GetRatio().denominator());
    case Core::Property::TypeNode:
        return NodeToJson(property);
    case Core::Property::TypeEmpty:
        break;
    }
    return nullptr;
}

} // namespace Tessor::Jobs
