# SPDX-License-Identifier: GPL-2.0-or-later
"""Completion of tesl-control for bash and zsh. Tasks are asked for at the service; all other words are known before."""

import control_help

TASK_IDS = r"command tesl-control --get-task-list 2>/dev/null | sed -n 's/^ *\([0-9][0-9]*\) .*/\1/p'"
LICENCE = "# SPDX-License-Identifier: GPL-2.0-or-later\n"


def wrapped(words, indent):
    """Words in lines of a script."""
    lines, line = [], ""
    for word in words:
        if line and len(indent) + len(line) + 1 + len(word) > 100:
            lines.append(line)
            line = ""
        line += (" " if line else "") + word
    return f"\n{indent}".join(lines + [line])


def echoed(words, indent):
    """An echo of words over as many lines as it takes."""
    return "echo " + wrapped(words, indent).replace("\n", " \\\n")


def bash_values(document):
    """A branch for each kind of word that is known before."""
    branches = []
    for kind, words in sorted(document["words"].items()):
        unspaced = "\n            compopt -o nospace" if kind.endswith("-change") else ""
        branches.append(f"""        {kind})
            COMPREPLY=($(compgen -W "
                {wrapped(words, " " * 16)}
            " -- "$current"))""" + unspaced + "\n            ;;\n")
    return "".join(branches)


def bash_cases(document):
    value_of, operands, options = [], [], []
    seen = set()
    for command in document["commands"]:
        names = [option["name"] for option in command["options"]] + ["--help"]
        options.append(f"        {command['option']}) {echoed(names, ' ' * 12)} ;;\n")
        if command["operands"]:
            operands.append(f"        {command['option']}) echo {command['operands']} ;;\n")
        for option in [{"name": command["option"], "value": command["value"]}] + command["options"]:
            if option["value"] and option["name"] not in seen:
                seen.add(option["name"])
                value_of.append(f"        {option['name']}) echo {option['value']} ;;\n")
    return "".join(value_of), "".join(operands), "".join(options)


def bash(document):
    value_of, operands, options = bash_cases(document)
    commands = [command["option"] for command in document["commands"]]
    return LICENCE + f"""# Completion of tesl-control for bash.

# What the word behind an option names.
_tesl_control_value() {{
    case $1 in
{value_of}    esac
}}

# What the other words beside a command name.
_tesl_control_operands() {{
    case $1 in
{operands}    esac
}}

# The options that may stand beside a command.
_tesl_control_options() {{
    case $1 in
{options}        *)
            {echoed(["--json"] + commands, " " * 16)}
            ;;
    esac
}}

# The words of a kind that begin with what has been typed.
_tesl_control_words() {{
    local current=$2
    case $1 in
        task)
            COMPREPLY=($(compgen -W "$({TASK_IDS})" -- "$current"))
            ;;
        path)
            compopt -o filenames
            COMPREPLY=()
            local name
            while IFS= read -r name; do COMPREPLY+=("$name"); done < <(compgen -f -- "$current")
            ;;
{bash_values(document)}    esac
}}

_tesl_control() {{
    local current=$2 before=$3 command="" word kind
    COMPREPLY=()
    for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
        [[ $word == -- ]] && {{ _tesl_control_words "$(_tesl_control_operands "$command")" "$current"; return; }}
        case $word in
            {"|".join(commands)}) command=$word ;;
        esac
    done
    kind=$(_tesl_control_value "$before")
    if [[ -n $kind ]]; then
        _tesl_control_words "$kind" "$current"
    elif [[ $current == -* || -z $command ]]; then
        COMPREPLY=($(compgen -W "$(_tesl_control_options "$command")" -- "$current"))
    else
        _tesl_control_words "$(_tesl_control_operands "$command")" "$current"
    fi
}}

complete -F _tesl_control tesl-control
"""


def zsh_quoted(text):
    for mark in "\\[]:":
        text = text.replace(mark, "\\" + mark)
    return text.replace("'", "'\\''")


def zsh_action(kind, words):
    if kind == "task":
        return "_tesl_control_tasks"
    if kind == "path":
        return "_files"
    if kind in words:
        return f"_tesl_control_{kind.replace('-', '_')}"
    return " "


def zsh_option(name, kind, text, words):
    value = f":{kind}:{zsh_action(kind, words)}" if kind else ""
    return f"        '{name}[{zsh_quoted(text)}]{value}'"


def zsh_command(command, overview, words):
    explained = control_help.explanations(command["help"])
    lines = [zsh_option(command["option"], command["value"], overview.get(command["option"], ""), words)]
    lines += [zsh_option(option["name"], option["value"], explained.get(option["name"], ""), words)
              for option in command["options"]]
    lines.append(zsh_option("--help", "", overview.get("--help", ""), words))
    if command["operands"]:
        lines.append(f"        '*:{command['operands']}:{zsh_action(command['operands'], words)}'")
    return f"    ({command['option']})\n      _arguments \\\n" + " \\\n".join(lines) + "\n      ;;\n"


def zsh_words(kind, words):
    """A function that offers the words of a kind."""
    flags = "-S '' " if kind.endswith("-change") else ""
    offer = f"_values -s , {kind}" if kind == "event-types" else f"compadd {flags}--"
    return f"""_tesl_control_{kind.replace('-', '_')}() {{
  local -a words
  words=(
    {wrapped(words, "    ")}
  )
  {offer} $words
}}

"""


def zsh(document):
    overview = control_help.explanations(document["overview"])
    words = document["words"]
    described = "".join(f"    '{command['option']}:{zsh_quoted(overview.get(command['option'], ''))}'\n"
                        for command in document["commands"])
    return "#compdef tesl-control\n" + LICENCE + f"""# Completion of tesl-control for zsh.

_tesl_control_tasks() {{
  local -a ids
  ids=(${{(f)"$({TASK_IDS})"}})
  compadd -- $ids
}}

{"".join(zsh_words(kind, names) for kind, names in sorted(words.items()))}_tesl_control() {{
  local -a commands
  commands=(
{described}    '--json:{zsh_quoted("Write one JSON document and nothing else on standard output")}'
  )
  local word command=''
  for word in ${{words[2,CURRENT-1]}}; do
    (( ${{commands[(I)$word:*]}} )) && [[ $word != --json ]] && command=$word
  done
  case $command in
{"".join(zsh_command(command, overview, words) for command in document["commands"])}    (*)
      _describe -o command commands
      ;;
  esac
}}

_tesl_control "$@"
"""
