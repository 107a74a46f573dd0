"""The tree as the counts see it: files with their folder, wing and kind, and who includes whom."""

import re
from dataclasses import dataclass, field
from pathlib import Path

# Lowest first: a folder includes those before it, never those after it.
FLOORS = ["Platform/Framework", "Platform/Routing", "Platform/Render", "Platform/Metrics",
          "Platform/Service", "QcfLib", "Documents", "Lists",
          "Text", "Agent", "Watch", "Questions", "Mirror", "Live", "Command"]
# What stands beside the floors; nobody includes it.
YARDS = ["bench", "tests", "fuzz", "examples"]
# The wings of a folder, lowest first. "" is the folder itself, where it stands in the order.
WINGS = {
    "QcfLib": ["Nodes", "Context", "Sets", "Operators", "Plan", "Store"],
    "Agent": ["", "Routes", "Mrt", "Tables", "Evaluation"],
    "Mirror": ["", "Redis"],
}
# The folder whose root is its public interface and no wing.
ENGINE = "QcfLib"
ENGINE_PUBLIC = ["", "ClientPlugin"]

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)


@dataclass
class Source:
    """A C++ file."""

    path: str  # from the root of the tree
    folder: str
    wing: str  # below the folder; "" in its root
    lines: list
    includes: list = field(default_factory=list)  # paths of files of this tree

    @property
    def stem(self):
        """Name without ending: X.h, X.cpp and XGenerated.h of one wing are one."""
        name = self.path.rsplit("/", 1)[1].rsplit(".", 1)[0].removesuffix("Generated")
        return "/".join(filter(None, (self.folder, self.wing, name)))

    @property
    def name(self):
        return self.stem.rsplit("/", 1)[1]

    @property
    def isHeader(self):
        return self.path.endswith(".h")

    @property
    def isGenerated(self):
        return "Generated." in self.path

    @property
    def isPublic(self):
        return self.folder == ENGINE and self.isHeader and self.wing in ENGINE_PUBLIC

    @property
    def floor(self):
        return FLOORS.index(self.folder) if self.folder in FLOORS else len(FLOORS)


def flatPlaces():
    """Where the files stood when the engine was one folder: old path to wing."""
    places = {}
    for line in (Path(__file__).parent / "flat_layout.txt").read_text().splitlines():
        if line and not line.startswith("#"):
            wing, _, names = line.partition(":")
            places.update({f"{ENGINE}/{name}": wing for name in names.split()})
    return places


def placeOf(path, flat):
    """(folder, wing) of a path; None for what is no source of the project."""
    for folder in FLOORS + YARDS:
        if path.startswith(folder + "/"):
            rest = path[len(folder) + 1 :].split("/")
            wing = rest[0] if len(rest) > 1 else ""
            if folder == ENGINE and flat and wing in ENGINE_PUBLIC:
                wing = flat.get(path, wing)
            return folder, wing
    return None


def readTree(root):
    """Path to Source of every C++ file below the root that is not built."""
    isFlat = not (root / ENGINE / WINGS[ENGINE][0]).is_dir()
    flat = flatPlaces() if isFlat else {}
    files = {}
    for folder in sorted({f.split("/")[0] for f in FLOORS + YARDS}):
        for file in sorted((root / folder).rglob("*")):
            path = file.relative_to(root).as_posix()
            place = placeOf(path, flat)
            if place and file.suffix in (".h", ".cpp"):
                files[path] = Source(path, *place, file.read_text().splitlines())
    for source in files.values():
        for name in INCLUDE.findall("\n".join(source.lines)):
            beside = f"{source.path.rsplit('/', 1)[0]}/{name}"
            target = name if name in files else beside
            if target in files:
                source.includes.append(target)
    return files
