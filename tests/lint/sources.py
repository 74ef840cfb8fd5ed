"""The source tree as the checks see it: files, folders, code without comments and strings."""

import functools
import pathlib
import re
import subprocess

PRODUCT = ("util", "log", "settings", "pkcs11", "token", "bundle")
SUFFIXES = (".h", ".cc", ".mm", ".m", ".c")

_TOKEN = re.compile(r"""//[^\n]*|/\*.*?\*/|(?:u8|[uUL])?R"(?P<tag>[^()\s]*)\(.*?\)(?P=tag)"|"(?:\\.|[^"\\\n])*"|'(?:\\.|[^'\\\n])*'""",
                    re.DOTALL)


def code_only(text):
    """The text with comments and the contents of literals blanked; every line keeps its number."""
    def blank(match):
        token = match.group(0)
        if token.startswith("'") and match.start() > 0 and text[match.start() - 1].isalnum():
            return token  # a digit separator, not a character
        kept = '""' if '"' in token[:3] else "''" if token.startswith("'") else " "
        return kept + "\n" * token.count("\n")
    return _TOKEN.sub(blank, text)


class Tree:
    """A folder that is checked; what git tracks or would track of it, or all but its build folder outside a repository."""

    def __init__(self, root):
        self.root = pathlib.Path(root).resolve()

    @functools.cached_property
    def files(self):
        listed = subprocess.run(["git", "-C", self.root, "ls-files", "-z", "-co", "--exclude-standard"],
                                capture_output=True, text=True)
        inside = listed.returncode == 0 and (self.root / ".git").exists()
        names = listed.stdout.split("\0") if inside else \
            [str(p.relative_to(self.root)) for top in self.root.iterdir() if top.name != "build"
             for p in (top, *top.rglob("*"))]
        return sorted(n for n in names if n and (self.root / n).is_file())

    @functools.lru_cache(maxsize=None)
    def text(self, name):
        return (self.root / name).read_text(encoding="utf-8", errors="replace")

    @functools.lru_cache(maxsize=None)
    def code(self, name):
        return code_only(self.text(name))

    def sources(self, *folders, suffixes=SUFFIXES):
        return [n for n in self.files if n.endswith(suffixes) and (not folders or n.split("/")[0] in folders)]

    def exists(self, name):
        return (self.root / name).exists()


def matches(pattern, text):
    """(line number, match) for each match of the pattern."""
    for found in re.finditer(pattern, text):
        yield text.count("\n", 0, found.start()) + 1, found
