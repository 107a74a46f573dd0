"""Plants faults in copies of the examples and holds their tests to finding each, and to leading to it.

usage: planted.py COMMAND EXAMPLES WORK

A failure leads to a fault when a line that it tells has the number of the planted line, or reads what
that line says: asks the list or the attribute of the row, or is the test that the line stands
behind.
"""

import re
import shutil
import subprocess
import sys
from pathlib import Path

# Text, what stands there, what is planted, what reads it.
FAULTS = [
    # A bound.
    ("transit-import", "as_path.length > 40", "as_path.length > 41", None),
    ("transit-import", "as_path.length > 40", "as_path.length >= 40", None),
    ("transit-import", "0.0.0.0/0 ge 8 le 24", "0.0.0.0/0 ge 8 le 25", "LENGTHS-V4"),
    ("exchange-import", "as_path.length > 32", "as_path.length > 33", None),
    ("exchange-import", "prefix.length <= 24", "prefix.length <= 25", None),
    ("peer-import", "not in { 8..24 }", "not in { 8..23 }", None),
    ("import-filter", "as_path.length > 6", "as_path.length > 5", None),
    ("export-control", "0.0.0.0/0 ge 25", "0.0.0.0/0 ge 26", "LONG-V4"),
    # A list.
    ("transit-import", "permit 10.0.0.0/8", "permit 11.0.0.0/8", "BOGONS-V4"),
    ("transit-import", "1.1.1.0/24 max 24 AS13335", "1.1.1.0/24 max 24 AS13336", "RPKI"),
    ("leaks", "contains { 174, 701", "contains { 175, 701", "TRANSIT-FREE"),
    ("exchange-import", "193.239.116.8/32", "193.239.116.9/32", "hops"),
    ("customer-import", "0, 23456, 65535", "0, 23457, 65535", "RESERVED"),
    # An operator.
    ("leaks", "as_path.last_as is not source", "as_path.last_as is source", None),
    ("transit-import", "local_preference += 10", "local_preference -= 10", "local_preference"),
    ("transit-import", "community remove OURS", "community retain OURS", "community"),
    ("customer-import", "has all WISHES", "has any WISHES", None),
    ("export-control", "community not has any OURS", "community has any OURS", None),
    # An order, a way out.
    ("transit-import", "  med = 0\n  return true", "  return true\n  med = 0", "med"),
    ("transit-import", "exit false because rpki", "return false because rpki", r"RPKI, 2\)  true"),
    ("origin-validation", "RPKI, invalid)", "RPKI, not_found)", None),
    ("blackhole", "  set_next_hop_self()\n", "", "next_hop_self"),
]


def told(command, folder, name):
    run = subprocess.run([command, "test", f"{name}.qcf"], cwd=folder, text=True,
                         stdout=subprocess.PIPE, check=False)
    return run.returncode, [line for line in run.stdout.splitlines() if line.startswith(" " * 8)]


def leads(findings, text, line, reader):
    reads = reader and re.compile(rf"(?<![\w-])(?:{reader})(?![\w-])")
    wanted = {line} | {i for i, each in enumerate(text.splitlines(), 1) if reads and reads.search(each)}
    for finding in findings:
        numbers = {int(number) for number in re.findall(r"(?:\bline|->) (\d+)\b", finding)}
        if numbers & wanted or (reads and reads.search(finding)):
            return True
    return False


def main():
    command, examples, work = sys.argv[1:]
    missed = 0
    for name, there, planted, reader in FAULTS:
        folder = Path(work) / "examples"
        shutil.rmtree(folder, ignore_errors=True)
        shutil.copytree(examples, folder)
        path = folder / f"{name}.qcf"
        text = path.read_text()
        at = text.index(there)
        line = text.count("\n", 0, at) + 1
        path.write_text(text.replace(there, planted, 1))
        code, findings = told(command, folder, name)
        if code != 1 or not leads(findings, text, line, reader):
            missed += 1
            print(f"{name}.qcf:{line}: {planted!r} for {there!r}: exit code {code}", *findings, sep="\n")
    print(f"{len(FAULTS) - missed} of {len(FAULTS)} faults are found and led to")
    return 1 if missed else 0


sys.exit(main())
