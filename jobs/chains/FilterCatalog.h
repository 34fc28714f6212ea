#pragma once

#include "Proc/Settings/SettingsTree.h"
#include "effects/IEffectFactory.h"
#include "effects/IOneInputEffect.h"
#include "ffhost/registry/RegistryEntry.h"
#include "host/IFilterFactory.h"
#include "jobs/chains/FilterChain.h"
#include "media/formats/MediaType.h"

#include <memory>

namespace Tessor::Jobs
{

/// A filter that chains can name.
struct TESSOR_API CatalogRow
{
    enum class Form
    {
        Filter,      ///< found in the filter registry by the settings' class
        Effect,      ///< an effect over the whole stream
        TimedEffect, ///< an effect over a range of time, which the keys "start" and "duration" set
    };

    /// A key under another name than the settings have it.
    struct Renamed
    {
        std::string key, settingsKey;
        std::vector<std::pair<std::string, std::string>> words; ///< the values and what the settings call them
    };

    std::string name;
    MediaType kind;
    Form form;
    std::string summary;
    std::shared_ptr<const Proc::SettingsTree> prototype; ///< with the defaults
    std::vector<Renamed> renamed = {};
    std::string engine = {}; ///< class of the effect whose implementation the settings name; empty: they name none

    /// The keys, with their types, defaults and bounds. What names the implementation is among them as "impl", unless
    /// it is renamed.
    std::vector<Proc::FieldInfo> GetKeys() const;
};

/// All of them, those for pictures first.
TESSOR_API const std::vector<CatalogRow>& GetCatalog();

/// The rows of that name: one, or one a kind. Throws JobError::BadRequest that names the nearest ones.
TESSOR_API std::vector<const CatalogRow*> FindFilters(const std::string& name);

/// A filter with its settings, ready to be made.
struct FilterStep
{
    const CatalogRow* row;
    std::shared_ptr<Proc::SettingsTree> settings;
    std::string implName;     ///< empty: the default one
    avTime start = 0;         ///< of timed effects
    avTime duration = NoTime; ///< of timed effects; NoTime: to the end
};

/// Reads a chain for streams of that kind. Throws JobError::BadRequest for unknown filters and keys, values
/// of the wrong type or out of range, and filters of the other kind.
TESSOR_API std::vector<FilterStep> ReadFilters(const std::string& chain, MediaType kind);

/// What filters and effects are made by.
struct TESSOR_API Factories
{
    SP<const Proc::IFilterFactory> filters;
    SP<const Proc::IEffectFactory> effects;
    std::vector<Host::RegistryEntry> entries; ///< what they make

    static Factories Make();
};

/// Names of the implementations of a row, the default one first: those that its key "impl" takes.
TESSOR_API std::vector<std::string> ListImplementations(const CatalogRow& row, const Factories&);

/// Whether the filter works by how long its source lasts.
TESSOR_API bool NeedsLength(const FilterStep& step);

/// The stream after the filter.
TESSOR_API SP<Proc::IStreamVideo> MakeFilter(const FilterStep& step, const SP<Proc::IStreamVideo>& source,
                                             const Factories&);
TESSOR_API SP<Proc::IStreamAudio> MakeFilter(const FilterStep& step, const SP<Proc::IStreamAudio>& source,
                                             const Factories&);

/// The stream with an effect over it.
SP<Proc::IStreamVideo> ApplyEffect(const SP<Proc::IOneInputEffectVideo>& effect, const SP<Proc::IStreamVideo>& source,
                                   const Factories&);
SP<Proc::IStreamAudio> ApplyEffect(const SP<Proc::IOneInputEffectAudio>& effect, const SP<Proc::IStreamAudio>& source,
                                   const Factories&);

/// The stream in another format of samples; what is unset in it stays.
TESSOR_API SP<Proc::IStreamAudio> MakeResampler(const SP<Proc::IStreamAudio>& source, const Conf::SampleInfo& output,
                                                const Factories&);

} // namespace Tessor::Jobs
