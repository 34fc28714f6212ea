#include "cli/options/Completion.h"

#include <fmt/format.h>

namespace Tessor::Cli
{

namespace
{

OptionTable AllOptions(Verb& verb)
{
    static CommonOptions unused; // targets of options that are only listed
    return GetAllOptions(verb, unused);
}

std::string Join(const std::vector<std::string>& words)
{
    return fmt::format("{}", fmt::join(words, " "));
}

/// In single quotes of a shell, where nothing can be escaped: each quote inside ends them, stands alone, and begins
/// anew.
std::string Quoted(std::string text)
{
    for (size_t at = 0; (at = text.find('\'', at)) != std::string::npos; at += 4)
        text.replace(at, 1, "'\\''");
    return "'" + text + "'";
}

/// The cases of bash in which words are known: by verb and the word before the cursor, or, for positionals, the number
/// of the word at it. `place` counts those that came.
std::string BashCases(const std::string& verb, const Option& option, int& place)
{
    const std::vector<std::string> words = option.GetWords();
    std::string cases;
    for (const std::string& name : option.IsPositional() ? std::vector{std::to_string(++place)} : option.GetNames())
        if (!words.empty())
            cases += fmt::format("        {}:{}) words=\"{}\" ;;\n", verb, name, Join(words));
    return cases;
}

/// The words that an option or a place takes, or the verb's options, or else files.
std::string Bash(const std::vector<std::unique_ptr<Verb>>& verbs)
{
    std::vector<std::string> names;
    std::string cases, values, places;
    for (const std::unique_ptr<Verb>& verb : verbs)
    {
        names.push_back(verb->GetName());
        std::vector<std::string> options;
        int place = 1; // of the verb itself
        for (const Option& option : AllOptions(*verb))
        {
            (option.IsPositional() ? places : values) += BashCases(verb->GetName(), option, place);
            if (!option.IsPositional())
                for (const std::string& name : option.GetNames())
                    options.push_back(name);
        }
        cases += fmt::format("            {}) words=\"{}\" ;;\n", verb->GetName(), Join(options));
    }
    return fmt::format(R"(# bash completion of tessor
_tessor()
{{
    local word=${{COMP_WORDS[COMP_CWORD]}} words=""
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W "{} --help --version" -- "$word"))
        return
    fi
    case "${{COMP_WORDS[1]}}:${{COMP_WORDS[COMP_CWORD-1]}}" in
{}    esac
    [ -n "$words" ] || case "${{COMP_WORDS[1]}}:$COMP_CWORD" in
{}    esac
    if [[ $word == -* ]]; then
        case "${{COMP_WORDS[1]}}" in
{}        esac
    fi
    COMPREPLY=($(compgen -W "$words" -- "$word"))
    [ -n "$words" ] || compopt -o default
}}
complete -F _tessor tessor
)",
                       Join(names), values, places, cases);
}

/// How zsh completes a value.
std::string ZshAction(const Option& option)
{
    const std::vector<std::string> words = option.GetWords();
    return !words.empty() ? "(" + Join(words) + ")" : option.file ? "_files" : "";
}

/// For zsh's _arguments: 'name[help]:what follows:how that is completed', and 'place:what:how'.
std::string Zsh(const std::vector<std::unique_ptr<Verb>>& verbs)
{
    std::string names, cases;
    for (const std::unique_ptr<Verb>& verb : verbs)
    {
        names += fmt::format("        {}\n", Quoted(verb->GetName() + ":" + verb->GetSummary()));
        cases += fmt::format("    {})\n        _arguments", verb->GetName());
        int place = 1; // of the verb itself
        for (const Option& option : AllOptions(*verb))
        {
            const std::string value =
                fmt::format(":{}:{}", option.IsPositional() ? option.names : option.value, ZshAction(option));
            if (option.IsPositional())
                cases += " \\\n            " + Quoted(std::to_string(++place) + value);
            else
                for (const std::string& name : option.GetNames())
                    cases += " \\\n            " +
                             Quoted(fmt::format("{}[{}]{}", name, option.help, option.IsFlag() ? "" : value));
        }
        cases += " \\\n            '*:file:_files'\n        ;;\n";
    }
    return fmt::format(
        "#compdef tessor\nif (( CURRENT == 2 )); then\n    local -a verbs=(\n{}    )\n    _describe verb verbs\n"
        "    return\nfi\ncase ${{words[2]}} in\n{}esac\n",
        names, cases);
}

std::string Fish(const std::vector<std::unique_ptr<Verb>>& verbs)
{
    std::string text = "# fish completion of tessor\n";
    for (const std::unique_ptr<Verb>& verb : verbs)
    {
        text += fmt::format("complete -c tessor -n __fish_use_subcommand -f -a {} -d {}\n", verb->GetName(),
                            Quoted(verb->GetSummary()));
        for (const Option& option : AllOptions(*verb))
        {
            const std::vector<std::string> words = option.GetWords();
            if (option.IsPositional() && words.empty())
                continue;
            text += fmt::format("complete -c tessor -n '__fish_seen_subcommand_from {}'", verb->GetName());
            for (const std::string& name : option.IsPositional() ? std::vector<std::string>() : option.GetNames())
                text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
            if (!words.empty())
                text += (option.IsPositional() ? " -a " : " -x -a ") + Quoted(Join(words));
            else if (!option.IsFlag())
                text += option.file ? " -r" : " -x";
            text += " -d " + Quoted(option.help) + "\n";
        }
    }
    return text;
}

} // namespace

std::string GetCompletion(const std::string& shell, const std::vector<std::unique_ptr<Verb>>& verbs)
{
    return shell == "bash" ? Bash(verbs) : shell == "zsh" ? Zsh(verbs) : Fish(verbs);
}

} // namespace Tessor::Cli
