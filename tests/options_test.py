#!/usr/bin/python3
"""Each program has the same options in its help, in its manual page and in its completions for bash and zsh.

usage: options_test.py SOURCE_DIR ZUNIC_ENQUIRER ZUNIC_INSPECT DEMO_BUS
"""
import re
import subprocess
import sys
import unittest

SOURCE, ENQUIRER, INSPECT, DEMO_BUS = sys.argv[1:5]

BASH = r"""
compopt() { :; }
source "$1"
shift
_zunic_inspect_channels() { echo some-channel; }
_zunic_inspect_names() { echo some-name; }
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
"_$1"
printf '%s\n' "${COMPREPLY[@]}"
"""

# The last call of _arguments has the options of the command; the first one of zunic_inspect chooses it.
ZSH = r"""
_arguments() {
  if [[ $* == *'->argument'* && $words[1] == ? ]]; then print -rl -- "$@"; exit; fi
  if [[ $* == *'->argument'* ]]; then state=argument; return 1; fi
  print -rl -- "$@"
}
file=$1
words=($2)
autoload +X -Uz $file 2>/dev/null
source $file
"""


def run(*words):
    return subprocess.run(words, capture_output=True, text=True, timeout=60, check=True).stdout


def help_options(*words):
    """{option: metavariable or ""} with an entry for each spelling."""
    options = {}
    for line in run(*words, "--help").splitlines():
        found = re.match(r"  ((?:-\w,)?--[\w-]+)(?: (\S.*?))?(?:\s{2,}|$)", line)
        for option in found[1].split(",") if found else []:
            options[option] = found[2] or ""
    return options


def commands():
    return re.findall(r"^  ([a-z]+) ", run(INSPECT, "--help").partition("\nCommands:\n")[2].partition("\n\n")[0], re.M)


def manual_sections(page):
    """{title: text} of the sections and subsections."""
    with open(f"{SOURCE}/docs/man/{page}.1") as file:
        parts = re.split(r"^\.S[hs] (.*)$", file.read(), flags=re.M)
    return dict(zip(parts[1::2], parts[2::2]))


ITEMS = r"^\.It Fl (.*)$"
ITEMS_AND_MENTIONS = r"^\.(?:It )?Fl (.*)$"


def manual_options(text, lines):
    """{option: metavariable or ""} of such lines."""
    options = {}
    for line in re.findall(lines, text, re.M):
        for part in re.split(r" , ?(?:Fl )?", line):
            found = re.match(r"-?([\w-]+)(?: Ns = Ns)?(?: Ar (\S+))?", part.strip())
            if found:
                option = "-" + part.strip().split()[0]
                options[option] = options.get(option) or found[2] or ""
    return options


def bash_options(program, *words):
    """What is offered behind these words for a dash."""
    offered = run("/bin/bash", "--norc", "-c", BASH, "bash", f"{SOURCE}/completions/{program}.bash", program, *words, "-")
    return {word for word in offered.split() if word.startswith("-")}


def zsh_options(program, command):
    """{option: whether it takes a value}."""
    options = {}
    for line in run("/usr/bin/zsh", "-f", "-c", ZSH, "zsh", f"{SOURCE}/completions/_{program}", command).splitlines():
        found = re.match(r"(?:\([^)]*\))?\*?(--?[\w-]+)[+=]?\[[^]]*\](:?)", line)
        if found:
            options[found[1]] = bool(found[2])
    return options


class Options(unittest.TestCase):
    def compare_with_manual(self, program, options):
        """Only whether there is a value: help and page call it differently."""
        described = manual_options("".join(manual_sections(program).values()), ITEMS)
        self.assertEqual({option: value != "" for option, value in described.items()},
                         {option: value != "" for option, value in options.items()})

    def compare_with_completions(self, program, options, *command):
        self.assertEqual(bash_options(program, *command), set(options), f"bash: {command}")
        for option, value in options.items():
            takes_value = "--help" not in bash_options(program, *command, option)
            self.assertEqual(takes_value, value != "", f"bash: the value of {option}")
        expected = {option: value != "" for option, value in options.items()}
        self.assertEqual(zsh_options(program, command[0] if command else "-"), expected, f"zsh: {command}")

    def test_of_each_command_of_zunic_inspect(self):
        sections = manual_sections("zunic_inspect")
        shared = manual_options(sections["Options of many commands"], ITEMS)
        used = set()
        self.assertEqual([title for title in sections if title in commands()], [
            word for word in re.findall(r"^\.Cm (\w+)$", sections["SYNOPSIS"], re.M)])
        self.assertEqual(set(commands()), {title for title in sections if title.islower()})
        for command in commands():
            with self.subTest(command):
                options = help_options(INSPECT, command)
                own = manual_options(sections[command], ITEMS_AND_MENTIONS)
                described = {option: own.get(option) or shared.get(option, "")
                             for option in {*own, *(shared.keys() & options.keys())}}
                used |= options.keys()
                self.assertEqual(described.keys(), options.keys())
                for option, value in described.items():
                    if option in own and own[option] == "" and option not in shared:
                        continue  # Only mentioned here; its value is described for another command.
                    self.assertEqual(value, options[option].lower(), option)
                self.compare_with_completions("zunic_inspect", options, command)
        self.assertEqual(shared.keys() - used, {"--version"})

    def test_of_zunic_inspect_itself(self):
        self.compare_with_completions("zunic_inspect", help_options(INSPECT))
        offered = run("/bin/bash", "--norc", "-c", BASH, "bash", f"{SOURCE}/completions/zunic_inspect.bash",
                      "zunic_inspect", "")
        self.assertEqual(set(offered.split()), set(commands()))
        with open(f"{SOURCE}/completions/_zunic_inspect") as file:
            self.assertEqual(set(re.search(r"1:command:\(([a-z ]+)\)", file.read())[1].split()), set(commands()))

    def test_of_zunic_enquirer(self):
        options = help_options(ENQUIRER)
        self.compare_with_manual("zunic_enquirer", options)
        self.compare_with_completions("zunic_enquirer", options)

    def test_of_zunic_demo_bus(self):
        self.compare_with_manual("zunic_demo_bus", help_options(DEMO_BUS))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
