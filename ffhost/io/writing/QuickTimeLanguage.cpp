#include "ffhost/io/writing/QuickTimeLanguage.h"

#include <map>
#include <set>
#include <string_view>

namespace Tessor::Host
{

std::string NameQuickTimeLanguage(const std::string& code)
{
    static const std::set<std::string_view> known = {
        "alb", "amh", "ara", "arm", "asm", "aym", "aze", "baq", "bel", "ben", "bul", "bur", "cat", "ces", "chi", "dan",
        "dut", "dzo", "eng", "epo", "est", "fin", "fra", "geo", "ger", "gre", "grn", "guj", "heb", "hin", "hun", "ice",
        "ind", "iri", "ita", "jav", "jpn", "kan", "kas", "kaz", "khm", "kin", "kir", "kor", "kur", "lao", "lat", "lav",
        "lit", "mac", "mal", "mar", "may", "mlg", "mlt", "mol", "mon", "nep", "nor", "nya", "ori", "orm", "per", "pol",
        "por", "pus", "que", "ron", "run", "rus", "san", "sin", "slk", "slv", "snd", "som", "spa", "sve", "swa", "tam",
        "tat", "tel", "tgk", "tgl", "tha", "tib", "tir", "tuk", "tur", "uig", "ukr", "urd", "uzb", "vie", "wel", "yid"};
    // the other code of a language that has two, and what the writer's table calls otherwise
    static const std::map<std::string_view, std::string_view> others = {
        {"bod", "tib"}, {"cym", "wel"}, {"cze", "ces"}, {"deu", "ger"}, {"ell", "gre"}, {"eus", "baq"},
        {"fas", "per"}, {"fre", "fra"}, {"hye", "arm"}, {"isl", "ice"}, {"kat", "geo"}, {"mkd", "mac"},
        {"msa", "may"}, {"mya", "bur"}, {"nld", "dut"}, {"nno", "nor"}, {"nob", "nor"}, {"rum", "ron"},
        {"slo", "slk"}, {"sqi", "alb"}, {"swe", "sve"}, {"zho", "chi"}};
    const auto other = others.find(code);
    const std::string_view name = other == others.end() ? std::string_view(code) : other->second;
    return known.contains(name) ? std::string(name) : "";
}

} // namespace Tessor::Host
