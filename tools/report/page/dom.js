// element("p", { class: "reading" }, "text", child...): text is never taken for markup.
export function element(name, attributes = {}, ...children) {
  const result = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (key.startsWith("on")) result.addEventListener(key.slice(2), value);
    else if (value !== undefined) result.setAttribute(key, value);
  }
  result.append(...children);
  return result;
}
