"""Policies that answer by their version: what a route is answered tells by which it was."""

import json
import re
from typing import NamedTuple

FUNCTIONS = 3  # routes that functions answer
VALUES = 16  # what lists tell apart
FILE = re.compile(r"policy-(\d+)-(\d+)\.qcf$")


class Content(NamedTuple):
    """What is published: functions answer by one number, lists by another."""

    functions: int
    lists: int
    size: int  # entries of a list that makes batches longer
    fill: int  # all of these entries change with it

    @property
    def answer(self):
        return self.functions, self.lists % VALUES

    @property
    def fileName(self):
        return f"policy-{self.functions}-{self.lists}.qcf"


def text(content):
    """The policy as a text with its lists."""
    number = content.lists % VALUES
    fill = "  ".join(f"permit {{ {i % 60000 + 1}:{content.fill * 7 % 60000 + i // 60000} }}"
                     for i in range(content.size))
    return f"""# Lines move with each version: {'.' * (content.functions % 7)}
{chr(10) * (content.functions % 5)}
list community_list A {{ permit {{ 65000:{number} }} }}
list prefix_list B v4 {{ permit 10.2.{number}.0/24 }}
list community_list FILL {{ {fill} }}

function one() {{
  med = {content.functions}
  return true because v{content.functions}
}}
function two() {{
  if prefix covered by 10.1.2.0/24 {{
    med = {content.functions}
  }}
  return not community matches FILL
}}
function decide() {{
  if prefix is 10.1.0.0/24 {{
    return one()
  }}
  if prefix is 10.1.1.0/24 or prefix is 10.1.2.0/24 {{
    med = {content.functions}
    return two()
  }}
  return prefix matches B or community matches A
}}
"""


def routes():
    """Those that functions answer, then one of each kind of list for each value."""
    rows = [{"prefix": f"10.1.{i}.0/24"} for i in range(FUNCTIONS)]
    rows += [{"prefix": f"10.2.{i}.0/24"} for i in range(VALUES)]
    rows += [{"prefix": f"10.3.{i}.0/24", "community": [f"65000:{i}"]} for i in range(VALUES)]
    return rows


def routesText():
    return "".join(json.dumps(row) + "\n" for row in routes())


ROUTES = FUNCTIONS + 2 * VALUES


def isOfThatText(decided, functions, lists):
    """Whether the place and the reason that a version gives for its first answer are those of the
    text that answers so."""
    found = FILE.search(decided["file"]) if decided else None
    if not found or (int(found[1]), int(found[2]) % VALUES) != (functions, lists):
        return False
    rows = text(Content(functions, lists, 0, 0)).split("\n")
    reason = f"v{functions}"
    return decided["reason"] == reason and rows[decided["line"] - 1].endswith("because " + reason)


def answerOf(lines):
    """(functions' number, lists' number) of the answers to all routes; None where they, and what the
    version says of its text, are not all of one version."""
    answers = sorted((json.loads(line) for line in lines), key=lambda each: each["route"])
    if [each["route"] for each in answers] != list(range(ROUTES)):
        return None
    numbers = {each["changes"].get("med") for each in answers[:FUNCTIONS]}
    accepted = [each["route"] for each in answers[FUNCTIONS:] if each["result"] == "true"]
    number = accepted[0] - FUNCTIONS if accepted else None
    whole = (len(numbers) == 1 and None not in numbers and
             all(each["result"] == "true" for each in answers[:FUNCTIONS]) and
             len(accepted) == 2 and accepted[1] - accepted[0] == VALUES)
    if not whole or not isOfThatText(answers[0]["decidedBy"], *numbers, number):
        return None
    return numbers.pop(), number
