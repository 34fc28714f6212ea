#pragma once

#include "Fnd/Export.h"
#include "jobs/reports/Statistics.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace Tessor::Host
{

struct ContainerEntry;
struct EncoderEntry;
struct CodecEntry;

} // namespace Tessor::Host

/// What jobs have found out and done as JSON documents, described by the schemas in docs/. None has the statistics,
/// which belong under the key "statistics" when they are wanted.
namespace Tessor::Jobs
{

struct CatalogRow;
struct ConvertReport;
struct CutReport;
struct Factories;
struct LosslessReport;
struct PlanReport;
struct ProbeReport;
struct RepackReport;
struct SoundReport;
struct SplitReport;
struct VolumeReport;

/// Of the documents of all verbs, which begin with it.
constexpr int SCHEMA_VERSION = 1;

TESSOR_API nlohmann::ordered_json ToJson(const ConvertReport& report);
TESSOR_API nlohmann::ordered_json ToJson(const CutReport& report);
TESSOR_API nlohmann::ordered_json ToJson(const LosslessReport& report);
TESSOR_API nlohmann::ordered_json ToJson(const PlanReport& report);
TESSOR_API nlohmann::ordered_json ToJson(const ProbeReport& report);
TESSOR_API nlohmann::ordered_json ToJson(const RepackReport& report);
TESSOR_API nlohmann::ordered_json ToJson(const SoundReport& report);
TESSOR_API nlohmann::ordered_json ToJson(const SplitReport& report);
TESSOR_API nlohmann::ordered_json ToJson(const VolumeReport& report);
/// Filters of the catalog, with the implementations that there are.
TESSOR_API nlohmann::ordered_json ToJson(const std::vector<const CatalogRow*>& rows, const Factories& factories);

/// What FFmpeg's libraries can do here.
TESSOR_API nlohmann::ordered_json ToJson(const std::vector<Host::ContainerEntry>& containers);
TESSOR_API nlohmann::ordered_json ToJson(const std::vector<Host::EncoderEntry>& encoders);
TESSOR_API nlohmann::ordered_json ToJson(const std::vector<Host::CodecEntry>& codecs);

TESSOR_API nlohmann::ordered_json ToJson(const Statistics& statistics);

/// The text of a document. Files and their names may hold text in any encoding, JSON is UTF-8: U+FFFD stands for what
/// isn't.
TESSOR_API std::string Serialize(const nlohmann::ordered_json& document);

} // namespace Tessor::Jobs
