// A chart's data as a table. A column: { label, value: row => ..., show: value => text, mark, strong },
// where `mark` says that each of its values is a mark in the chart. A click on a heading sorts.
import { element } from "./dom.js";

function compare(a, b) {
  if (a === null || b === null) return (a === null) - (b === null);
  return typeof a === "number" ? a - b : String(a).localeCompare(String(b), "en");
}

function cell(column, row) {
  const value = column.value(row);
  const text = value === null ? "" : (column.show ?? String)(value);
  const classes = [
    typeof value === "number" ? "number" : "",
    column.mark && value !== null ? "mark" : "",
    column.strong ? "strong" : "",
  ];
  return element("td", { class: classes.join(" ").trim() || undefined }, text);
}

export function table(caption, columns, rows) {
  const body = element("tbody");
  const fill = (ordered) =>
    body.replaceChildren(
      ...ordered.map((row) => element("tr", {}, ...columns.map((column) => cell(column, row)))),
    );
  const headings = columns.map((column) => {
    const button = element("button", { type: "button", onclick: () => sort(column, heading) });
    button.append(column.label);
    const heading = element("th", { scope: "col" }, button);
    return heading;
  });
  function sort(column, heading) {
    const descending = heading.getAttribute("aria-sort") === "ascending";
    for (const other of headings) other.removeAttribute("aria-sort");
    heading.setAttribute("aria-sort", descending ? "descending" : "ascending");
    const ordered = [...rows].sort((a, b) => compare(column.value(a), column.value(b)));
    fill(descending ? ordered.reverse() : ordered);
  }
  fill(rows);
  return element(
    "div",
    { class: "scroll", tabindex: "0", role: "region", "aria-label": caption },
    element(
      "table",
      {},
      element("caption", {}, caption),
      element("thead", {}, element("tr", {}, ...headings)),
      body,
    ),
  );
}
