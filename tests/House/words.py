"""What the lines say: prose, names of nodes as text, casts."""

import json
import re
import subprocess
import sys

STRING = re.compile(r'"((?:[^"\\\n]|\\.)*)"')

# Fields' names that members of other documents have, too: they count only beside another name, or
# where a field is asked for its name.
COMMON = {"name", "value", "number"}


def isComment(line, inside):
    """(whether the line is nothing but comment, whether a block comment goes on after it)."""
    text = line.strip()
    if inside:
        return True, "*/" not in text
    if text.startswith("//"):
        return True, False
    if text.startswith("/*"):
        return True, "*/" not in text
    return False, False


def prose(sources):
    """(comment lines, lines that are not blank)."""
    comments = lines = 0
    for source in sources:
        inside = False
        for line in source.lines:
            if not line.strip():
                continue
            comment, inside = isComment(line, inside)
            comments += comment
            lines += 1
    return comments, lines


def schemaNames(root):
    """(node classes, field names) as the tree's own schema has them."""
    script = """
import json, sys
sys.path.insert(0, sys.argv[1])
import generate
rows = [row for _, row in generate.numberedRows()]
fields = {f.name for row in rows for f in getattr(row, "fields", [])}
def className(row):
    return getattr(row, "cls", "")
print(json.dumps([sorted({className(row) for row in rows}), sorted(fields)]))
"""
    run = subprocess.run([sys.executable, "-B", "-c", script, str(root / "QcfLib/schema")],
                         capture_output=True, text=True, check=True)
    classes, fields = json.loads(run.stdout)
    return set(classes), set(fields)


def namedAsText(sources, names):
    """(place, line) where a string literal is one of the names; #include lines do not count."""
    found = []
    for source in sources:
        inside = False
        for number, line in enumerate(source.lines, 1):
            comment, inside = isComment(line, inside)
            if comment or line.lstrip().startswith("#include"):
                continue
            code = line.split(" //")[0]
            texts = {text for text in STRING.findall(code) if text in names}
            if texts - COMMON or (texts and "field" in code):
                found.append((f"{source.path}:{number}", line.strip()))
    return found


def linesWith(sources, text):
    return [f"{source.path}:{number}" for source in sources
            for number, line in enumerate(source.lines, 1) if text in line]
