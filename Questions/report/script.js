"use strict";
// All counts stand in the page. This adds what needs a hand: tabs, search, and the examples of a line.
(() => {
  const data = JSON.parse(document.getElementById("data").textContent);
  const byId = (id) => document.getElementById(id);
  const each = (selector, visit, within = document) => within.querySelectorAll(selector).forEach(visit);

  // make("td", {class: "x"}, "text", element, ...)
  const make = (name, attributes, ...content) => {
    const element = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
    element.append(...content);
    return element;
  };
  const grouped = (number) => String(number).replace(/\B(?=(\d{3})+$)/g, ",");

  // --- Tabs: links to sections as long as there is no script ---------------------------------
  const tabs = [...document.querySelectorAll(".tabs a")];
  const panelOf = (tab) => byId(tab.hash.slice(1));
  const show = (chosen) => {
    for (const tab of tabs) {
      const isChosen = tab === chosen;
      tab.setAttribute("aria-selected", isChosen);
      tab.tabIndex = isChosen ? 0 : -1;
      panelOf(tab).hidden = !isChosen;
    }
    search();
  };
  const setUpTabs = () => {
    each(".tabs", (list) => list.setAttribute("role", "tablist"));
    each(".tabs li", (item) => item.setAttribute("role", "presentation"));
    for (const tab of tabs) {
      const panel = panelOf(tab);
      tab.id = "tab-" + panel.id;
      tab.setAttribute("role", "tab");
      tab.setAttribute("aria-controls", panel.id);
      panel.setAttribute("role", "tabpanel");
      panel.setAttribute("aria-labelledby", tab.id);
      panel.removeAttribute("aria-label");
      tab.addEventListener("click", (event) => {
        event.preventDefault();
        show(tab);
      });
      tab.addEventListener("keydown", (event) => {
        const step = {ArrowRight: 1, ArrowLeft: -1}[event.key];
        if (event.key === " ") {
          event.preventDefault();
          show(tab);
        } else if (step) {
          event.preventDefault();
          const next = tabs[(tabs.indexOf(tab) + step + tabs.length) % tabs.length];
          show(next);
          next.focus();
        }
      });
    }
  };

  // --- Search and filter: rows of the part that is shown --------------------------------------
  const search = () => {
    const section = document.querySelector("main > section:not([hidden])");
    const wanted = byId("search").value.trim().toLowerCase();
    const state = section.id === "source" ? byId("filter").value : "";
    byId("filter").disabled = section.id !== "source";
    let found = 0;
    let all = 0;
    each("tbody > tr", (row) => {
      if (row.classList.contains("detail") || row.closest(".detail, .example")) return;
      const fits = row.textContent.toLowerCase().includes(wanted) && (!state || row.classList.contains(state));
      row.hidden = !fits;
      const detail = row.nextElementSibling;
      if (detail?.classList.contains("detail")) detail.hidden = !fits;
      all += 1;
      found += fits ? 1 : 0;
    }, section);
    byId("found").textContent = wanted || state ? grouped(found) + " of " + grouped(all) + " rows" : "";
    if (section.id === "source") setStop(stop?.closest("tr").hidden ? null : stop);
  };

  // --- Examples: what an evaluation came to, row by row ---------------------------------------
  const verdictText = {true: "accepted", false: "rejected", unknown: "unknown"};
  const exampleRow = (values, here) => {
    const [depth, label, text, result, said] = values;
    const source = make("code", {}, "  ".repeat(depth) + data.texts[text]);
    return make("tr", here ? {class: "here"} : {}, make("td", {class: "place"}, data.texts[label]),
      make("td", {class: "text"}, source), make("td", {class: "text"}, data.texts[result]),
      make("td", {class: "answer wrap"}, data.texts[said]));
  };
  // `place` is the line whose rows stand out, as a label of rows has it.
  const prefixText = (route) => (route.prefix || "(no prefix)") + (route.peer ? " from " + route.peer : "");
  const routeText = (route) => "route " + route.route + "  " + prefixText(route) + "  " + verdictText[route.verdict] +
    (route.by ? " by " + route.by : " at the end") + (route.reason ? "  reason: " + route.reason : "");
  const example = (number, place, told = routeText) => {
    const route = data.examples[number];
    const element = make("details", {class: "example"}, make("summary", {}, told(route)));
    element.addEventListener("toggle", () => {
      if (!element.open || element.children.length > 1) return;
      const body = make("tbody", {});
      let label = "";
      for (const row of route.rows) {
        label = data.texts[row[1]] || label;
        body.append(exampleRow(row, place && label === place));
      }
      const head = make("tr", {}, ...["line", "text", "result", "values"].map(
        (name) => make("th", {scope: "col", class: "text"}, name)));
      const table = make("table", {}, make("caption", {}, route.cut ? "the last rows of the evaluation" : "the evaluation"),
        make("thead", {}, head), body);
      element.append(make("div", {class: "wide", tabindex: "0", role: "region", "aria-label": "Evaluation of route " + route.route}, table));
    });
    return element;
  };
  const examplesOf = (numbers, place) => {
    const list = make("div", {});
    for (const number of numbers) list.append(example(number, place));
    if (list.children.length === 0) list.append(make("p", {class: "hint"}, "No example is kept."));
    return list;
  };

  // --- Details of a line ----------------------------------------------------------------------
  const partsTable = (parts) => {
    const body = make("tbody", {});
    for (const [text, asked, counts, missing] of parts) {
      const cells = counts.map((count, i) => make("td", {}, i === 0 || asked ? grouped(count) : "-"));
      body.append(make("tr", missing ? {class: "half"} : {}, make("td", {class: "text"}, make("code", {}, data.texts[text])),
        ...cells, make("td", {class: "text"}, data.texts[missing])));
    }
    const names = ["part", "entered", "true", "false", "unknown", "exits", "missing"];
    const head = make("tr", {}, ...names.map((name) =>
      make("th", name === "part" || name === "missing" ? {scope: "col", class: "text"} : {scope: "col"}, name)));
    return make("div", {class: "wide", tabindex: "0", role: "region", "aria-label": "Counts of the line's parts"},
      make("table", {}, make("caption", {}, "what stands in this line"), make("thead", {}, head), body));
  };
  const toggle = (button) => {
    const row = button.closest("tr");
    const isOpen = button.getAttribute("aria-expanded") === "true";
    button.setAttribute("aria-expanded", !isOpen);
    if (isOpen) {
      row.nextElementSibling.remove();
      return;
    }
    const [file, line] = row.id.slice(1).split("-").map(Number);
    const known = data.lines[file][line];
    const label = file === 0 ? String(line) : data.files[file] + ":" + line;
    const cell = make("td", {colspan: row.closest("table").tHead.rows[0].cells.length}, partsTable(known.parts),
      make("h3", {}, "Examples"), examplesOf(known.examples, label));
    row.after(make("tr", {class: "detail"}, cell));
  };

  // One stop of the tabulator for all lines: arrows go from one to the next.
  let numbers = [];
  let stop = null;
  const setStop = (button) => {
    if (stop) stop.tabIndex = -1;
    stop = button ?? numbers.find((each) => !each.closest("tr").hidden) ?? null;
    if (stop) stop.tabIndex = 0;
  };
  const step = (button, key) => {
    const visible = numbers.filter((each) => !each.closest("tr").hidden);
    const at = visible.indexOf(button);
    const to = {ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: visible.length - 1}[key];
    return to === undefined ? null : visible[Math.min(Math.max(to, 0), visible.length - 1)];
  };
  const setUpLines = () => {
    each(".lines tbody tr[id]", (row) => {
      const cell = row.cells[0];
      const state = row.cells[6].textContent || "covered";
      const button = make("button", {type: "button", class: "number", "aria-expanded": "false", tabindex: "-1",
        "aria-label": "line " + cell.textContent + ", " + state}, cell.textContent);
      cell.replaceChildren(button);
      numbers.push(button);
    });
    each(".lines", (table) => {
      table.addEventListener("click", (event) => {
        const row = event.target.closest("tr[id]");
        if (!row || event.target.closest(".detail") || getSelection().toString()) return;
        const button = row.querySelector(".number");
        setStop(button);
        toggle(button);
      });
      table.addEventListener("keydown", (event) => {
        if (!event.target.classList.contains("number")) {
          if (event.key === "Escape" && event.target.closest(".detail")) {
            const button = event.target.closest(".detail").previousElementSibling.querySelector(".number");
            toggle(button);
            button.focus();
          }
          return;
        }
        if (event.key === "Escape" && event.target.getAttribute("aria-expanded") === "true") toggle(event.target);
        const next = step(event.target, event.key);
        if (next) {
          event.preventDefault();
          setStop(next);
          next.focus();
        }
      });
    });
    setStop(null);
  };

  // --- Links to lines, from clauses and elsewhere ---------------------------------------------
  const goTo = (row) => {
    byId("search").value = "";
    byId("filter").value = "";
    show(byId("tab-source"));
    each("tr.target", (old) => old.classList.remove("target"));
    row.classList.add("target");
    row.scrollIntoView({block: "center"});
    const button = row.querySelector(".number");
    setStop(button);
    button?.focus({preventScroll: true});
  };
  const setUpLinks = () => {
    document.addEventListener("click", (event) => {
      const link = event.target.closest('a[href^="#L"]');
      const row = link && byId(link.hash.slice(1));
      if (!row) return;
      event.preventDefault();
      goTo(row);
    });
    each("[data-examples]", (element) => {
      const numbersOf = element.dataset.examples.split(" ").filter(Boolean).map(Number);
      if (numbersOf.length === 0) return;
      element.append(make("details", {}, make("summary", {}, "examples"), examplesOf(numbersOf)));
    });
    each("#routes tr[data-example]", (row) => row.cells[1].replaceChildren(example(Number(row.dataset.example), "", prefixText)));
  };

  setUpTabs();
  setUpLines();
  setUpLinks();
  each(".tools", (form) => {
    form.hidden = false;
    form.addEventListener("submit", (event) => event.preventDefault());
    form.addEventListener("input", search);
  });
  show(tabs[0]);
})();
