#include "cli/options/Completion.h"

#include <fmt/format.h>

namespace Tessor::Cli
{

namespace
{

OptionTable AllOptions(Verb& verb)
{
    static CommonOptions unused; // targets of options that are only listed
    OptionTable table = verb.GetOptions();
    const OptionTable common = GetCommonOptions(unused);
    table.insert(table.end(), common.begin(), common.end());
    return table;
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

/// By verb and the word before the cursor: the words that an option takes, or the verb's options, or else files.
std::string Bash(const std::vector<std::unique_ptr<Verb>>& verbs)
{
    std::vector<std::string> names;
    std::string cases, values;
    for (const std::unique_ptr<Verb>& verb : verbs)
    {
        names.push_back(verb->GetName());
        std::vector<std::string> options;
        for (const Option& option : AllOptions(*verb))
        {
            if (option.IsPositional())
                continue;
            for (const std::string& name : option.GetNames())
            {
                options.push_back(name);
                if (!option.choices.empty())
                    values +=
                        fmt::format("        {}:{}) words=\"{}\" ;;\n", verb->GetName(), name, Join(option.choices));
            }
        }
        cases += fmt::format("            {}) words=\"{}\" ;;\n", verb->GetName(), Join(options));
    }
    return fmt::format(R"(# bash completion of tessor
_tessor()
{{
    local word=${{COMP_WORDS[COMP_CWORD]}} words=""
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W "{} completion manual --help --version" -- "$word"))
        return
    fi
    case "${{COMP_WORDS[1]}}:${{COMP_WORDS[COMP_CWORD-1]}}" in
{}    esac
    if [ -z "$words" ] && [[ $word == -* ]]; then
        case "${{COMP_WORDS[1]}}" in
{}        esac
    fi
    COMPREPLY=($(compgen -W "$words" -- "$word"))
    [ -n "$words" ] || compopt -o default
}}
complete -F _tessor tessor
)",
                       Join(names), values, cases);
}

/// For zsh's _arguments: 'name[help]:what follows:how that is completed'.
std::string Zsh(const std::vector<std::unique_ptr<Verb>>& verbs)
{
    std::string names, cases;
    for (const std::unique_ptr<Verb>& verb : verbs)
    {
        names += fmt::format("        {}\n", Quoted(verb->GetName() + ":" + verb->GetSummary()));
        cases += fmt::format("    {})\n        _arguments", verb->GetName());
        for (const Option& option : AllOptions(*verb))
        {
            if (option.IsPositional())
                continue;
            const std::string action = !option.choices.empty() ? "(" + Join(option.choices) + ")"
                                       : option.file           ? "_files"
                                                               : "";
            for (const std::string& name : option.GetNames())
                cases += " \\\n            " +
                         Quoted(fmt::format("{}[{}]{}", name, option.help,
                                            option.IsFlag() ? "" : fmt::format(":{}:{}", option.value, action)));
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
            if (option.IsPositional())
                continue;
            text += fmt::format("complete -c tessor -n '__fish_seen_subcommand_from {}'", verb->GetName());
            for (const std::string& name : option.GetNames())
                text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
            if (!option.choices.empty())
                text += " -x -a " + Quoted(Join(option.choices));
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
