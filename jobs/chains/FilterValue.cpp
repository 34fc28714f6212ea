#include "jobs/chains/FilterValue.h"

#include "jobs/JobError.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <optional>

namespace Tessor::Jobs
{

using namespace Proc;

namespace
{

/// Digits after the point of a ratio: more than any frame rate has.
constexpr size_t most_digits = 9;

template <class T>
std::optional<T> Number(const std::string& text)
{
    T value{};
    const char* end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && last == end && !text.empty() ? std::optional<T>(value) : std::nullopt;
}

std::optional<bool> Truth(const std::string& text)
{
    static const std::vector<std::string> yes = {"1", "true", "yes", "on"}, no = {"0", "false", "no", "off"};
    if (std::find(yes.begin(), yes.end(), text) != yes.end())
        return true;
    return std::find(no.begin(), no.end(), text) != no.end() ? std::optional<bool>(false) : std::nullopt;
}

std::optional<Core::Property::Ratio> Ratio(const std::string& text)
{
    const size_t slash = text.find('/'), dot = text.find('.');
    if (slash != std::string::npos)
    {
        const auto num = Number<long long>(text.substr(0, slash)), den = Number<long long>(text.substr(slash + 1));
        // the least number has no opposite
        constexpr long long most = std::numeric_limits<long long>::max();
        const bool good = num && den && *num >= -most && *den > 0;
        return good ? std::optional(Core::Property::Ratio(*num, *den)) : std::nullopt;
    }
    const std::string fraction = dot == std::string::npos ? "" : text.substr(dot + 1);
    if (fraction.size() > most_digits || (dot != std::string::npos && fraction.empty()))
        return std::nullopt;
    // by its digits, never through floating point: 29.97 is 2997/100
    const auto digits = Number<long long>(text.substr(0, dot) + fraction);
    if (!digits)
        return std::nullopt;
    long long den = 1;
    for (size_t i = 0; i < fraction.size(); ++i)
        den *= 10;
    return Core::Property::Ratio(*digits, den);
}

template <class T>
double ToDouble(const T& number)
{
    return static_cast<double>(number);
}

double ToDouble(const Core::Property::Ratio& ratio)
{
    return boost::rational_cast<double>(ratio);
}

template <class T>
Core::Property Checked(const std::string& filter, const FieldInfo& key, const std::string& text,
                       const std::optional<T>& value)
{
    if (!value)
        throw JobError(JobError::BadRequest, fmt::format("{}: \"{}\" is no value of {}, which is {}", filter, text,
                                                         key.key, DescribeValues(key)));
    if constexpr (!std::is_same_v<T, bool> && !std::is_same_v<T, std::string>)
    {
        const double amount = ToDouble(*value);
        // written so that what is no number (NaN) is refused, too
        if (!(amount >= key.least && amount <= key.most))
            throw JobError(JobError::BadRequest, fmt::format("{}: {}={} is out of range, which is {}", filter, key.key,
                                                             text, DescribeValues(key)));
    }
    return Core::Property(key.key, *value);
}

/// The ends of a machine's whole numbers are no bounds that people set.
std::string Range(const FieldInfo& key, const std::string& type)
{
    const bool least = std::isfinite(key.least) && key.least > std::numeric_limits<int>::min();
    const bool most = std::isfinite(key.most) && key.most < std::numeric_limits<int>::max();
    if (least && most)
        return fmt::format("{} from {} to {}", type, key.least, key.most);
    return least ? fmt::format("{} from {}", type, key.least) : type;
}

} // namespace

Core::Property ParseValue(const std::string& filter, const FieldInfo& key, const std::string& text)
{
    switch (key.value.GetType())
    {
    case Core::Property::TypeInt64:
        return Checked(filter, key, text, Number<long long>(text));
    case Core::Property::TypeDouble:
        return Checked(filter, key, text, Number<double>(text));
    case Core::Property::TypeBool:
        return Checked(filter, key, text, Truth(text));
    case Core::Property::TypeRatio:
        return Checked(filter, key, text, Ratio(text));
    default:
        const bool known = key.choices.empty() || std::count(key.choices.begin(), key.choices.end(), text);
        return Checked(filter, key, text, known ? std::optional(text) : std::nullopt);
    }
}

std::string DescribeValues(const FieldInfo& key)
{
    if (!key.choices.empty())
        return fmt::format("{}", fmt::join(key.choices, "|"));
    switch (key.value.GetType())
    {
    case Core::Property::TypeInt64:
        return Range(key, "a whole number");
    case Core::Property::TypeDouble:
        return Range(key, "a number");
    case Core::Property::TypeBool:
        return "yes|no";
    case Core::Property::TypeRatio:
        return Range(key, "a ratio such as 30000/1001");
    default:
        return "text";
    }
}

std::string FormatValue(const Core::Property& value)
{
    switch (value.GetType())
    {
    case Core::Property::TypeInt64:
        return std::to_string(value.GetInt64());
    case Core::Property::TypeDouble:
        return fmt::format("{}", value.GetDouble());
    case Core::Property::TypeBool:
        return value.GetBool() ? "yes" : "no";
    case Core::Property::TypeRatio:
        return value.GetRatio().denominator() == 1
                   ? std::to_string(value.GetRatio().numerator())
                   : fmt::format("{}/{}", value.GetRatio().numerator(), value.GetRatio().denominator());
    default:
        return value.GetString();
    }
}

} // namespace Tessor::Jobs
