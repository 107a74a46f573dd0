"""Compares the codes of messages in the sources with the table of codes in the language's page:
codes.py SOURCE_DIR. Ends with 1 and names what differs."""

import pathlib
import re
import sys

# Where a code stands: behind the place of a message, or in a row of a table of slips.
TOLD = re.compile(
    r'(?:fail|warn|error)\(\s*[^;"]*?,\s*"([a-z]+(?:-[a-z]+)*)",'
    r'|Severity::(?:error|warning),\s*"([a-z]+(?:-[a-z]+)*)",'
    r'|^\s*\{"[^"]*", "([a-z]+(?:-[a-z]+)*)", [^"{}]*(?:"|[a-z])', re.MULTILINE)
ROW = re.compile(r"^\| `([a-z-]+)` \|", re.MULTILINE)


def told_codes(folder):
    codes = {}
    for path in sorted(folder.glob("*.cpp")):
        text = path.read_text()
        for match in TOLD.finditer(text):
            isTable = match.group(3) is not None
            if isTable and path.name != "Slips.cpp":
                continue
            codes.setdefault(next(filter(None, match.groups())), path.name)
    return codes


def documented_codes(page):
    return ROW.findall(page.split("\n| code |", 1)[1].split("\n\n", 1)[0])


def main():
    root = pathlib.Path(sys.argv[1])
    told = told_codes(root / "Text")
    documented = documented_codes((root / "docs/language.md").read_text())
    # Findings about policies and lists have their codes in other folders.
    others = "".join(path.read_text() for folder in ("Documents", "Lists", "Command")
                     for path in (root / folder).glob("*.cpp"))
    wrong = [f"{code} of Text/{told[code]} is not in docs/language.md"
             for code in sorted(set(told) - set(documented))]
    wrong += [f"{code} of docs/language.md is told nowhere"
              for code in documented if code not in told and f'"{code}"' not in others]
    if documented != sorted(set(documented)):
        wrong.append("the codes of docs/language.md are not sorted, or one stands twice")
    if len(told) < 30:
        wrong.append(f"only {len(told)} codes found in the sources: how they are told has changed")
    print("\n".join(wrong) or f"{len(told)} codes agree")
    return 1 if wrong else 0


sys.exit(main())
