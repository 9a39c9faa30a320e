"""The manual pages against the programs' own help, and as the tools that show them see them."""

import os
import pathlib
import re
import subprocess
import unittest

PAGES = pathlib.Path(os.environ["TARNWICK_MANUAL"])
SECTIONS = ["NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS", "ENVIRONMENT", "FILES",
            "EXAMPLES", "SEE ALSO"]
# So wide that no line is broken.
ENVIRONMENT = {**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "2000"}


def run(*command, **more):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True,
                          env=ENVIRONMENT, **more)


def shown(page):
    """What somebody sees who reads the page."""
    return run("col", "-bx", input=run("man", "-l", page).stdout).stdout


class Help:
    """What a command says of itself."""

    def __init__(self, program, *words):
        self.words = words
        lists = {}
        heading = None
        for line in run(program, *words, "--help").stdout.splitlines():
            if re.fullmatch(r"[A-Z][a-z]+:", line):
                heading = line[:-1]
            elif not line.startswith(" "):
                heading = None
            elif heading and re.match(r"  \S", line):
                lists.setdefault(heading, []).append(line.split()[0])
        self.commands = [name.split(",")[0] for name in lists.get("Subcommands", [])]
        self.arguments = lists.get("Positionals", [])
        self.options = [name for names in lists.get("Options", []) for name in names.split(",")]


def all_help(*words):
    """Of all commands below these words, and of theirs."""
    found = Help(os.environ["TARNWICK"], *words)
    return [found] + [inner for name in found.commands for inner in all_help(*words, name)]


class Manual(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.help = all_help()
        cls.text = {page.name: shown(page) for page in cls.pages()}

    @staticmethod
    def pages():
        return sorted(PAGES.glob("*.[18]"))

    @staticmethod
    def below(text, heading):
        """The lines of a section, or of a command's part of one."""
        found = re.search(rf"^{re.escape(heading)}\n((?: {{4,}}.*\n|\n)*)", text, re.MULTILINE)
        return found.group(1) if found else ""

    def is_group(self, word):
        return any(help.words == (word,) and help.commands for help in self.help)

    def part_about(self, help):
        if not help.words:
            return self.below(self.text["tarnwick.1"], "OPTIONS")
        page = f"tarnwick-{help.words[0]}.1" if self.is_group(help.words[0]) else "tarnwick.1"
        return self.below(self.text[page], " ".join(("   tarnwick", *help.words)))

    def assert_terms(self, part, terms, of):
        for term in terms:
            self.assertRegex(part, rf"(?m)^ +(?:-[-\w]+, )*{re.escape(term)}( |$|,)", f"{term} of {of}")

    def test_has_a_page_for_each_group_of_commands(self):
        groups = {f"tarnwick-{name}.1" for name in self.help[0].commands if self.is_group(name)}
        self.assertIn("tarnwick-pc.1", groups)
        self.assertEqual({page.name for page in self.pages()},
                         groups | {"tarnwick.1", "tarnwick-server.8"})

    def test_tells_of_every_command_with_its_options_and_arguments(self):
        self.assertGreater(len(self.help), 30)
        for help in self.help:
            part = self.part_about(help)
            if len(help.words) == 1 and help.commands:
                self.assertIn("   tarnwick " + help.words[0], self.text["tarnwick.1"])
                continue
            self.assertNotEqual(part, "", help.words)
            options = help.options if not help.words else [
                name for name in help.options if name not in ("-h", "--help")]
            self.assert_terms(part, options + help.arguments, help.words)

    def test_tells_of_every_switch_of_the_service(self):
        service = Help(os.environ["TARNWICK_SERVER"])
        self.assertIn("--when-locked", service.options)
        self.assert_terms(self.below(self.text["tarnwick-server.8"], "OPTIONS"), service.options,
                          "tarnwick-server")

    def test_has_all_sections_on_every_page(self):
        for name, text in self.text.items():
            headings = [line for line in text.splitlines()[1:-1] if re.match(r"[A-Z]", line)]
            self.assertEqual([heading for heading in headings if heading in SECTIONS], SECTIONS,
                             name)
            for heading in SECTIONS:
                self.assertNotEqual(self.below(text, heading).strip(), "", f"{heading} of {name}")

    def test_tells_the_exit_codes(self):
        codes = re.findall(r"(?m)^ +([0-9]) ", self.below(self.text["tarnwick.1"], "EXIT STATUS"))
        self.assertEqual(codes, ["0", "1", "2", "3", "4", "5", "6"])

    def test_gives_the_examples_of_the_help(self):
        for help in self.help:
            shown_help = run(os.environ["TARNWICK"], *help.words, "--help").stdout
            example = re.search(r"(?m)^Examples?:\n((?:  .*\n)+)", shown_help)
            if not example:
                continue
            page = "tarnwick.1"
            if help.words and self.is_group(help.words[0]):
                page = f"tarnwick-{help.words[0]}.1"
            examples = self.below(self.text[page], "EXAMPLES")
            for line in example.group(1).splitlines():
                self.assertIn(line.strip(), examples, page)

    def test_refers_to_pages_that_are_there(self):
        names = {page.name for page in self.pages()}
        for text in self.text.values():
            for name, section in re.findall(r"(tarnwick[a-z-]*)\((\d)\)", text):
                self.assertIn(f"{name}.{section}", names)

    def test_is_what_the_tools_understand(self):
        for page in self.pages():
            for tool in (["man", "--warnings", "-l", "-Tutf8", "-Z", page],
                         ["groff", "-ww", "-man", "-Tutf8", "-z", page]):
                result = run(*tool)
                self.assertEqual((result.returncode, result.stderr), (0, ""), page.name)
            complaints = run("mandoc", "-Tlint", "-Wwarning", page).stdout.splitlines()
            # A page of the day on which it was built would differ from build to build.
            self.assertEqual([line for line in complaints if "missing date" not in line], [])

    def test_is_found_by_what_it_is_about(self):
        for page in self.pages():
            result = run("lexgrog", page)
            self.assertEqual(result.returncode, 0)
            self.assertIn(f'"{page.stem} - ', result.stdout)


if __name__ == "__main__":
    unittest.main()
