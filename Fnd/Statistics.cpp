#include "Fnd/Statistics.h"

namespace Tessor::Core
{

Property MakeStatistics(const std::string& name, long long time, unsigned long count)
{
    Property record(name);
    record.Add(Property("time", time));
    record.Add(Property("count", static_cast<long long>(count)));
    return record;
}

Property GetRootItem()
{
    return Property("");
}

std::string StatisticsTag(const std::string& className)
{
    // spelt out, because __PRETTY_FUNCTION__ differs between compilers and hosts look records up by this text
    return "virtual Core::Property Tessor::Proc::" + className + "::GetStatistic() const";
}

std::string StatisticsTag(const std::string& className, const std::string& parameter, const std::string& streamType)
{
    return StatisticsTag(className + "<" + streamType + ">") + " [" + parameter + " = " + streamType + "]";
}

} // namespace Tessor::Core
