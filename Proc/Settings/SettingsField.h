#pragma once

#include "Fnd/Exception.h"
#include "Proc/Settings/SettingsTree.h"

#include <algorithm>
#include <boost/rational.hpp>
#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

namespace Tessor::Proc
{

/// Bounds of a number or ratio, both of them allowed.
struct FieldLimits
{
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();
};

/// A value as a tree holds it, from and to a field's own type: bool, text, ratios and numbers as they are, integers of
/// all widths as int64.
template <class T>
struct FieldConversion
{
    static Core::Property ToProperty(const std::string& key, const T& value)
    {
        if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>)
            return Core::Property(key, static_cast<long long>(value));
        else
            return Core::Property(key, value);
    }
    static T FromProperty(const Core::Property& value)
    {
        if constexpr (std::is_same_v<T, bool>)
            return value.GetBool();
        else if constexpr (std::is_integral_v<T>)
            return static_cast<T>(value.GetInt64());
        else if constexpr (std::is_floating_point_v<T>)
            return value.GetDouble();
        else if constexpr (std::is_same_v<T, std::string>)
            return value.GetString();
        else
            return value.GetRatio();
    }
};

/// One row of a settings class's table of fields.
template <class S>
class SettingsField
{
public:
    /// The bounds of an integer are no wider than its type.
    template <class T>
    SettingsField(const std::string& key, T S::*member, const std::string& help, FieldLimits limits = {})
        : info{key, help, {}, limits.least, limits.most, {}},
          get([key, member](const S& settings) { return FieldConversion<T>::ToProperty(key, settings.*member); }),
          set([member](S& settings, const Core::Property& value)
              { settings.*member = FieldConversion<T>::FromProperty(value); }),
          equal([member](const S& a, const S& b) { return a.*member == b.*member; })
    {
        if constexpr (std::is_integral_v<T>)
        {
            info.least = std::max(info.least, static_cast<double>(std::numeric_limits<T>::min()));
            info.most = std::min(info.most, static_cast<double>(std::numeric_limits<T>::max()));
        }
    }

    /// An enumeration whose values 0, 1, ... go by names in a tree.
    template <class T>
    SettingsField(const std::string& key, T S::*member, const std::string& help, const std::vector<std::string>& names)
        : info{key, help, {}, 0, 0, names},
          get([key, member, names](const S& settings)
              { return Core::Property(key, names.at(static_cast<size_t>(settings.*member))); }),
          set(
              [member, names](S& settings, const Core::Property& value)
              {
                  // Set has checked that it is one of them
                  const auto found = std::find(names.begin(), names.end(), value.GetString());
                  settings.*member = static_cast<T>(found - names.begin());
              }),
          equal([member](const S& a, const S& b) { return a.*member == b.*member; })
    {
        static_assert(std::is_enum_v<T>, "Only enumerations have names.");
    }

    const std::string& GetKey() const { return info.key; }
    FieldInfo Describe(const S& defaults) const
    {
        return {info.key, info.help, get(defaults), info.least, info.most, info.choices};
    }
    Core::Property Get(const S& settings) const { return get(settings); }
    bool AreEqual(const S& a, const S& b) const { return equal(a, b); }

    void Set(S& settings, const Core::Property& value) const
    {
        Check(Describe(settings), value);
        set(settings, value);
    }

private:
    /// None for anything but a number.
    static std::optional<double> ToNumber(const Core::Property& value)
    {
        switch (value.GetType())
        {
        case Core::Property::TypeInt64:
            return static_cast<double>(value.GetInt64());
        case Core::Property::TypeDouble:
            return value.GetDouble();
        case Core::Property::TypeRatio:
            return boost::rational_cast<double>(value.GetRatio());
        default:
            return std::nullopt;
        }
    }

    static void Check(const FieldInfo& info, const Core::Property& value)
    {
        if (value.GetType() != info.value.GetType())
            Throw<SettingsException>(TESSOR_HERE, "The value of \"" + info.key + "\" is of another type");
        const std::optional<double> amount = ToNumber(value);
        // NaN lies within no bounds
        if (amount && !(*amount >= info.least && *amount <= info.most))
            Throw<SettingsException>(TESSOR_HERE, "The value of \"" + info.key + "\" is out of range");
        if (!info.choices.empty() &&
            std::find(info.choices.begin(), info.choices.end(), value.GetString()) == info.choices.end())
            Throw<SettingsException>(TESSOR_HERE, "\"" + value.GetString() + "\" is no value of \"" + info.key + "\"");
    }

    FieldInfo info; // without the default
    std::function<Core::Property(const S&)> get;
    std::function<void(S&, const Core::Property&)> set;
    std::function<bool(const S&, const S&)> equal;
};

/// Base of settings classes whose fields stand in one table, `static const std::vector<SettingsField<S>>& GetFields()`:
/// copies, comparison and trees follow from it. S has a public CLASS_ID and a default constructor that sets the
/// defaults.
template <class S>
class SettingsOf : public SettingsTree
{
public:
    const std::string& GetClassId() const override { return S::CLASS_ID; }
    Settings* Clone() const override { return new S(Self()); }
    bool IsEqualTo(const Settings& other) const override
    {
        const S& that = SettingsCast<S>(other);
        return std::all_of(S::GetFields().begin(), S::GetFields().end(),
                           [&](const SettingsField<S>& field) { return field.AreEqual(Self(), that); });
    }
    std::vector<FieldInfo> Describe() const override
    {
        std::vector<FieldInfo> rows;
        for (const SettingsField<S>& field : S::GetFields())
            rows.push_back(field.Describe(S()));
        return rows;
    }
    Core::Property ToProperty() const override
    {
        Core::Property tree(S::CLASS_ID);
        for (const SettingsField<S>& field : S::GetFields())
            tree.Add(field.Get(Self()));
        return tree;
    }
    void FromProperty(const Core::Property& tree) override
    {
        S changed = Self(); // so that a wrong child leaves all fields as they were
        for (const Core::Property& child : tree)
        {
            const auto field = std::find_if(S::GetFields().begin(), S::GetFields().end(),
                                            [&](const SettingsField<S>& f) { return f.GetKey() == child.GetName(); });
            if (field == S::GetFields().end())
                Throw<SettingsException>(TESSOR_HERE, "There is no \"" + child.GetName() + "\" in " + S::CLASS_ID);
            field->Set(changed, child);
        }
        static_cast<S&>(*this) = changed;
    }

private:
    const S& Self() const { return static_cast<const S&>(*this); }
};

} // namespace Tessor::Proc
