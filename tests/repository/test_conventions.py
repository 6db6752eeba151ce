"""What the repository promises of itself: pages name what is there, a class stands in its places, lists stand once."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGES = [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]
# places that a build or a user makes
MADE = re.compile(r"^(build|share|out|c|py|DIR|zarn-ccoder|zarn-pcoder|blocks/sign\.cpp|/)|[A-Z]{4}|math_tools")
ENDINGS = ("cpp", "h", "py", "md", "json", "sh", "cmake", "txt", "supp", "svg", "csv", "npz")

# files outside of blocks/ that know classes by name, and why a fact beside the entry cannot say it
MAY_KNOW_CLASSES = {
    "framework/structure.h": "the classes of which a diagram is made",
    "coder/exact/expression.cpp": "functions of C, of which some are classes as well",
    "coder/exact/names.cpp": "words of C, of which some are classes as well",
    "host/draw/diagram.cpp": "reads the hierarchy of a file",
    "host/draw/place.cpp": "places the ports of a diagram at its borders",
    "host/draw/scene.cpp": "draws the gate of a subsystem",
    "host/draw/figures.cpp": "pictures",
    "host/draw/symbols.cpp": "pictures",
    "host/edit/structure.h": "the classes that edits make and take apart",
    "host/session/probes.cpp": "probes end in what has no output",
    "host/diagnose/workspace.cpp": "words of Python, of which some are classes as well",
    "host/codenotes/texts.cpp": "words of Python, of which some are classes as well",
    "python/zarn/_blocks.py": "made of the entries by tools/make_python_blocks.py",
    "python/zarn/_build.py": "operators on signals, and signals led through ports",
    "python/zarn/_macros.py": "diagrams of blocks that are drawn again and again",
    "python/zarn/_models.py": "structure: ports, subsystems, references",
    "python/zarn/_program.py": "structure: ports, subsystems, references",
}


def class_names():
    text = (ROOT / "framework/entries.h").read_text()
    return re.findall(r"^ +CLASS\((\w+) ?\)", text, re.M), re.findall(r"^ +ALSO\(\w+, (\w+)\)", text, re.M)


def without_comments(text):
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.S)


def sources():
    for folder in "core include framework model exec files coder host python".split():
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix in (".cpp", ".h", ".py"):
                yield path


class Pages(unittest.TestCase):
    def named(self, text):
        """Folders and files in backticks, and targets of links that are no addresses."""
        plain = re.sub(r"```.*?```", "", text, flags=re.S)
        for word in re.findall(r"`([\w./+-]+)`", plain):
            if word.startswith("."):  # the ending of a name
                continue
            if "/" in word or word.rpartition(".")[2] in ENDINGS and "." in word:
                yield word, True
        for word in re.findall(r"\]\(([^)#\s]+)", plain):
            if "://" not in word:
                yield word, False

    def exists(self, page, word, quoted):
        if not quoted:
            return (page.parent / word).exists()
        word = word.rstrip("/")
        if (ROOT / word).exists() or (page.parent / word).exists():
            return True
        # a name alone, or below the folder that the sentence is about
        return any(ROOT.glob(f"*/{word}")) or any(ROOT.glob(f"*/*/{word}")) or any(ROOT.glob(f"*/*/*/{word}"))

    def test_what_a_page_names_is_there(self):
        for page in PAGES:
            for word, quoted in self.named(page.read_text()):
                if quoted and (MADE.search(word) or not re.search(r"[a-z]", word)):
                    continue
                if quoted and not ("/" in word and not re.search(r"\.\w+$", word)) and word.rpartition(".")[2] not in ENDINGS:
                    continue
                with self.subTest(page=page.name, names=word):
                    self.assertTrue(self.exists(page, word, quoted))

    def test_the_architecture_names_every_folder_of_the_code(self):
        text = (ROOT / "docs/architecture.md").read_text()
        for folder in "core include framework model exec blocks files coder host".split():
            self.assertIn(f"**{folder}**", text)
        for folder in sorted(path.name for path in (ROOT / "host").iterdir() if path.is_dir()):
            self.assertIn(f"`{folder}/`", text)


class Classes(unittest.TestCase):
    def setUp(self):
        self.own, self.other = class_names()

    def test_the_list_is_sorted_and_whole(self):
        self.assertEqual(self.own, sorted(self.own))
        entries = {}
        for path in sorted((ROOT / "blocks").glob("*.cpp")):
            for name in re.findall(r"^extern const block_entry_t (\w+)_entry\{", path.read_text(), re.M):
                entries[name] = path.stem
        self.assertEqual(entries, {name: name for name in self.own})

    def test_a_block_file_has_its_parts_in_order(self):
        listed = re.findall(r"^    (\w+)\.cpp$", (ROOT / "blocks/CMakeLists.txt").read_text(), re.M)
        self.assertEqual(listed, sorted(listed))
        for name in self.own:
            with self.subTest(name):
                text = (ROOT / f"blocks/{name}.cpp").read_text()
                self.assertIn(name, listed)
                self.assertTrue(text.startswith(f"// {name}: "))
                parts = [r"^// Inputs?\b", r"^// (Inputs, o|O)utputs?\b", r"^// State\b", r"^#include", r"^class \w+ final : public \w+ \{\npublic:\n    using",
                         r"^constexpr block_traits_t traits\{", rf"^extern const block_entry_t {name}_entry\{{"]
                places = [re.search(part, text, re.M) for part in parts]
                self.assertNotIn(None, places)
                starts = [place.start() for place in places]
                self.assertEqual(starts, sorted(starts))
                # the run-time table stands before the design class
                if table := re.search(r"^constexpr auto \w*table = ", text, re.M):
                    self.assertLess(table.start(), starts[4])
                self.assertRegex(text, r'class_hash_of\("%s"\)' % name)

    def test_every_class_has_a_section_in_the_reference(self):
        titles = re.findall(r"^### (\w+)$", (ROOT / "docs/blocks.md").read_text(), re.M)
        self.assertEqual(sorted(titles), sorted(self.own + self.other))

    def known_classes(self, path):
        strings = set(re.findall(r'"(\w+)"|\'(\w+)\'', without_comments(path.read_text())))
        words = {a or b for a, b in strings}
        return sorted(words & set(self.own + self.other))

    def test_no_list_of_classes_stands_twice(self):
        for path in sources():
            name = path.relative_to(ROOT).as_posix()
            known = self.known_classes(path)
            with self.subTest(name):
                self.assertTrue(len(known) < 3 or name in MAY_KNOW_CLASSES,
                                f"{name} knows {', '.join(known)} by name: say it beside their entries")

    def test_what_may_know_classes_is_there(self):
        for name in MAY_KNOW_CLASSES:
            self.assertTrue((ROOT / name).exists(), name)


if __name__ == "__main__":
    unittest.main()
