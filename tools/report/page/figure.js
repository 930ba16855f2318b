// The frame of a chart: title, how to read it, legend, drawing, and the data as a table.
import * as Plot from "@observablehq/plot";
import { element } from "./dom.js";
import { table } from "./table.js";

// A chart is a function of the state that the controls hold. It returns
//   title, reading   texts
//   legend           elements
//   columns, rows    of its table
//   plot             width => options for the drawing
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

  function draw() {
    drawnWidth = drawing.clientWidth;
    if (drawnWidth === 0) return;
    const svg = Plot.plot({ width: drawnWidth, style: "overflow:visible", ...parts.plot(drawnWidth) });
    svg.setAttribute("role", "img");
    svg.setAttribute("aria-labelledby", title.id);
    drawing.replaceChildren(svg);
  }

  new ResizeObserver(() => drawing.clientWidth !== drawnWidth && draw()).observe(drawing);
  return {
    frame,
    update(state) {
      parts = chart(state);
      title.textContent = parts.title;
      reading.textContent = parts.reading;
      legend.replaceChildren(...(parts.legend ?? []));
      if (numbers.children.length > 1) numbers.lastChild.remove();
      numbers.append(table(parts.title, parts.columns, parts.rows));
      draw();
    },
  };
}
