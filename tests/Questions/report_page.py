#!/usr/bin/env python3
"""usage: report_page.py PAGE PROFILE CHROMIUM [PICTURES]: the page in a browser does what it should."""

import json
import sys
from html.parser import HTMLParser
from pathlib import Path

from chromium import Browser

VOID = {"meta", "input", "br", "link", "rect"}

# Every element that shows text of its own: its colour on the first ground behind it that is opaque.
CONTRAST = """(() => {
  const channels = (text) => (text.match(/[\\d.]+/g) || []).map(Number);
  const light = ([r, g, b]) => [r, g, b].map((c) => c / 255).map(
    (c) => c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4)
    .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0);
  const ground = (element) => {
    for (let at = element; at; at = at.parentElement) {
      const colour = channels(getComputedStyle(at).backgroundColor);
      if (colour.length === 3 || colour[3] === 1) return colour;
    }
    return [255, 255, 255];
  };
  const found = {};
  let seen = 0;
  for (const element of document.querySelectorAll("body *")) {
    const own = [...element.childNodes].some((n) => n.nodeType === 3 && n.textContent.trim());
    if (!own || !element.getClientRects().length || element.matches(".skip, script, noscript")) continue;
    const [a, b] = [light(channels(getComputedStyle(element).color)), light(ground(element))];
    const ratio = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
    seen += 1;
    if (ratio < 4.5) found[element.tagName + "." + element.className] = ratio;
  }
  return {seen, found};
})()"""

# What can be used, and what it is called.
NAMELESS = """[...document.querySelectorAll("a[href], button, input, select, summary, [tabindex]")].filter((e) =>
  !(e.getAttribute("aria-label") || (e.getAttribute("aria-labelledby") && document.getElementById(
    e.getAttribute("aria-labelledby")).textContent) || (e.labels && e.labels.length &&
    e.labels[0].textContent) || (!e.matches("input, select") && e.textContent.trim()))).map((e) => e.outerHTML.slice(0, 80))"""

FOCUSED = """(() => { const e = document.activeElement; const style = getComputedStyle(e);
  return {name: e.tagName, id: e.id, label: e.getAttribute("aria-label") || "", text: e.textContent.slice(0, 30),
    top: e.getBoundingClientRect().top + scrollY, outline: style.outlineStyle !== "none" &&
    parseFloat(style.outlineWidth) >= 2, path: e.closest("header, aside, nav, section")?.tagName || "BODY"}; })()"""

ROWS = """Object.fromEntries([...document.querySelectorAll(".lines tr[id]")].map(
  (row) => [row.id, row.className + "|" + [...row.cells].slice(1, 5).map((c) => c.textContent).join(",")]))"""

faults = []


def expect(isRight, *told):
    if not isRight:
        faults.append(" ".join(map(str, told)))


def equal(found, wanted, what):
    expect(found == wanted, f"{what}: wanted {wanted!r}, found {found!r}")


class Nesting(HTMLParser):
    """Elements close in the order in which they opened, ids are unique."""

    def __init__(self):
        super().__init__()
        self.open, self.ids = [], set()

    def handle_starttag(self, tag, attributes):
        if tag not in VOID:
            self.open.append(tag)
        name = dict(attributes).get("id")
        expect(name is None or name not in self.ids, "id twice:", name)
        self.ids.add(name)

    def handle_startendtag(self, tag, attributes):
        pass

    def handle_endtag(self, tag):
        expect(self.open and self.open.pop() == tag, "closed out of turn:", tag, self.getpos())


def checkText(page, profile):
    text = Path(page).read_text(encoding="utf-8")
    nesting = Nesting()
    nesting.feed(text)
    equal(nesting.open, [], "left open")
    expect("unsafe" not in text.split("<title>")[0], "the content security policy allows too much")
    rows = [json.loads(line) for line in Path(profile).read_text().splitlines()]
    top = max((row for row in rows if "share" in row), key=lambda row: row["share"])
    return top


def checkRows(browser):
    equal(browser.ask(ROWS), {
        "L0-6": "covered|3,1,2,0",
        "L0-7": "covered|5,1,2,1",
        "L0-8": "covered|5,2,3,0",
        "L0-9": "covered decides|2,0,2,0",
        "L0-11": "half|3,1,2,0",
        "L0-12": "covered|1,,,",
        "L0-13": "covered decides|1,1,0,0",
        "L0-15": "half|2,0,2,0",
        "L0-16": "never|0,,,",
        "L0-18": "covered decides|2,1,1,0",
    }, "rows")
    equal(browser.ask("document.querySelectorAll('.lines tr:not([id])').length"), 10, "plain lines")


def checkTop(browser, top):
    first = browser.ask("document.querySelector('.clauses li').textContent")
    for part in (f"{100 * top['share']:.1f} %", top["text"], f"{top['file']}:{top['line']}"):
        expect(part in first, "the first clause", first, "lacks", part)


def checkHostile(browser):
    equal(browser.ask("document.querySelectorAll('b, img').length"), 0, "elements from texts")
    expect("<b>&.qcf" in browser.ask("document.title"), "the name is not in the title")
    expect("</script><script>alert(1)</script>" in browser.ask("document.querySelector('#source').textContent"),
           "the comment is not in the source")


def checkScript(browser):
    visible = "[...document.querySelectorAll('main > section:not([hidden])')].map((s) => s.id).join()"
    equal(browser.ask(visible), "source", "parts that are shown")
    browser.ask("document.getElementById('tab-lists').click()")
    equal(browser.ask(visible), "lists", "parts after a click")
    equal(browser.ask("[...document.querySelectorAll('#lists tbody tr')].map((r) => r.className + r.cells[1].textContent).join()"),
          "2,never0", "entries of the list")
    browser.ask("document.getElementById('tab-unknowns').click()")
    expect("ended without return" in browser.ask("document.querySelector('#unknowns').textContent"),
           "why a verdict is unknown is not told")
    browser.ask("document.getElementById('tab-source').click()")
    # Search and filter.
    browser.ask("{const f = document.getElementById('filter'); f.value = 'never'; f.dispatchEvent(new Event('input', {bubbles: true}));}")
    equal(browser.ask("[...document.querySelectorAll('.lines tbody tr:not([hidden])')].map((r) => r.id).join()"),
          "L0-16", "lines that the filter leaves")
    equal(browser.ask("document.getElementById('found').textContent"), "1 of 19 rows", "what the filter tells")
    browser.ask("{const f = document.getElementById('filter'); f.value = ''; f.dispatchEvent(new Event('input', {bubbles: true}));}")


def checkKeyboard(browser):
    browser.ask("document.activeElement.blur()")
    # The tabulator goes through the page in its order, and shows where it is.
    stops = []
    for _ in range(40):
        browser.press("Tab")
        stop = browser.ask(FOCUSED)
        if stop["name"] == "BODY" or (stops and stop == stops[0]):
            break
        expect(stop["outline"], "no outline at", stop)
        stops.append(stop)
    parts = [stop["path"] for stop in stops]
    equal(sorted(set(parts), key=parts.index), ["BODY", "HEADER", "ASIDE", "NAV", "SECTION"],
          "order of the focus")
    equal(sum(stop["label"].startswith("line ") for stop in stops), 1, "stops in the lines")
    # Arrows go from line to line, Enter opens and Escape closes.
    browser.ask("document.querySelector('.number[tabindex=\"0\"]').focus()")
    browser.press("Home")
    equal(browser.ask(FOCUSED)["label"], "line 6, covered", "the first line")
    for _ in range(4):
        browser.press("ArrowDown")
    equal(browser.ask(FOCUSED)["label"], "line 11, half", "four lines down")
    browser.press("Enter")
    detail = browser.ask("document.querySelector('#L0-11 + .detail')?.textContent") or ""
    for part in ("local_preference > 1000", "never true", "route 2", "accepted"):
        expect(part in detail, "the line's details lack", part, "in", detail)
    browser.ask("""new Promise((done) => {
      const details = document.querySelector(".detail details");
      details.addEventListener("toggle", () => done(true));
      details.open = true;
    })""")
    equal(browser.ask("document.querySelector('.detail .here')?.cells[0].textContent"), "11",
          "the row of the line in its example")
    expect("med is 3" in browser.ask("document.querySelector('.detail details table').textContent"),
           "the example does not explain")
    browser.press("Escape")
    expect(not browser.ask("!!document.querySelector('.detail')"), "Escape does not close the details")
    browser.press("End")
    equal(browser.ask(FOCUSED)["label"], "line 18, covered", "the last line")
    browser.ask("document.getElementById('tab-source').focus()")
    browser.press("ArrowRight")
    equal(browser.ask(FOCUSED)["id"], "tab-routes", "the next tab")
    browser.press("ArrowLeft")


def checkLook(browser, pictures):
    for name, width, height, dark in (("light", 1280, 900, False), ("dark", 1280, 900, True),
                                      ("phone", 390, 844, False)):
        browser.look(width, height, dark)
        browser.ask("document.querySelectorAll('.detail').length || document.querySelector('#L0-11 .number').click()")
        browser.ask("document.querySelectorAll('.detail details').forEach((d) => { d.open = true; })")
        for tab in ("lists", "routes", "unknowns", "source"):
            browser.ask(f"document.getElementById('tab-{tab}').click()")
            found = browser.ask(CONTRAST)
            expect(found["seen"] > 20, "no texts were looked at:", name, tab)
            equal(found["found"], {}, f"too little contrast ({name}, {tab})")
        equal(browser.ask("document.documentElement.scrollWidth <= innerWidth"), True,
              f"the page fits the window ({name})")
        equal(browser.ask(NAMELESS), [], f"controls without a name ({name})")
        if pictures:
            browser.ask("document.getElementById('source').scrollIntoView()" if name == "phone" else "scrollTo(0, 0)")
            browser.picture(Path(pictures) / f"report-{name}.png")
    browser.look(1280, 900, False)


def checkWithoutScript(browser, page, top):
    browser.open(page, script=False)
    checkTop(browser, top)
    equal(browser.ask("document.querySelectorAll('main > section[hidden], .tools:not([hidden])').length"), 0,
          "parts hidden without script")
    expect("16" in browser.ask("document.querySelector('aside .plain').textContent"), "what was never reached is not told")


def main(page, profile, program, pictures=""):
    top = checkText(page, profile)
    with Browser(program) as browser:
        browser.look(1280, 900, False)
        browser.open(page)
        checkRows(browser)
        checkTop(browser, top)
        checkHostile(browser)
        checkScript(browser)
        checkKeyboard(browser)
        checkLook(browser, pictures)
        equal([each for each in browser.requests if not each.startswith("file:")], [], "requests")
        equal(len(browser.requests), 1, "files that were asked for")
        equal(browser.complaints, [], "what the browser complains of")
        checkWithoutScript(browser, page, top)
    for fault in faults:
        print("FAILED:", fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
