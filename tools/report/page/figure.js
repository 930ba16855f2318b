// The frame of a chart: title, how to read it, legend, drawing, and the data as a table.
import * as Plot from "@observablehq/plot";
import { element } from "./dom.js";
import { table } from "./table.js";

// Widths of drawings on paper, in pixels: across the page, and two beside each other.
const PAPER = { whole: 676, half: 320 };

// A chart is a function of the state that the controls hold. It returns
//   title, reading   texts
//   legend           elements
//   columns, rows    of its table
//   whole            whether it takes a whole row of the page
//   open             whether the table is always shown, beside the drawing where there is room
//   plot             width => options for the drawing, or for several, one below the other
// or nothing when there is no data for it.
export function figure(id, chart) {
  const title = element("h2", { id: `${id}-title` });
  const reading = element("p", { class: "reading", id: `${id}-reading` });
  const legend = element("div", { class: "legend" });
  const drawing = element("div", { class: "drawing" });
  const numbers = element("details", {}, element("summary", {}, "The data as a table"));
  const frame = element(
    "figure",
    { id, "aria-labelledby": title.id, "aria-describedby": reading.id },
    title,
    reading,
    legend,
    drawing,
    numbers,
  );
  let parts;
  let drawnWidth = 0;

  function draw(width = drawing.clientWidth) {
    drawnWidth = width;
    if (width === 0) return;
    const drawings = [parts.plot(width)].flat().map((options) => {
      const svg = Plot.plot({ width, marginBottom: 42, style: "overflow:visible", ...options });
      svg.setAttribute("role", "img");
      svg.setAttribute("aria-labelledby", title.id);
      return svg;
    });
    drawing.replaceChildren(...drawings);
  }

  // The layout of paper comes too late for the observer.
  addEventListener("beforeprint", () => draw(parts.whole ? PAPER.whole : PAPER.half));
  addEventListener("afterprint", () => draw());
  new ResizeObserver(() => drawing.clientWidth !== drawnWidth && draw()).observe(drawing);
  return {
    frame,
    update(state) {
      const isFirst = parts === undefined;
      parts = chart(state);
      if (isFirst) {
        numbers.open = parts.open ?? false;
        if (parts.open) frame.classList.add("open");
        if (parts.whole) frame.classList.add("whole");
      }
      title.textContent = parts.title;
      reading.textContent = parts.reading;
      legend.replaceChildren(...(parts.legend ?? []));
      if (numbers.children.length > 1) numbers.lastChild.remove();
      numbers.append(table(parts.title, parts.columns, parts.rows));
      draw();
    },
  };
}
