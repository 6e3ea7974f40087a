// Title, switches, list of objects and legend.
import { CURVATURES, SWITCHES } from "./state.js";

/** An element with attributes and children; texts are never read as markup. */
export function element(tag, attributes = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) made.addEventListener(name.slice(2), value);
    else if (value !== false && value != null) made.setAttribute(name, value === true ? "" : value);
  }
  made.append(...children);
  return made;
}

const short = (value) => Number(value.toPrecision(3)).toString().replace("-", "\u2212");

export class Panel {
  constructor(scene, model, actions) {
    this.scene = scene;
    this.model = model;
    this.actions = actions;
    this.buttons = {};
    this.root = element("div", { class: "panel" });
    const side = element("div", { class: "side" }, this.#heading());
    if (model.groups.length > 1) side.append(this.#objects());
    this.root.append(side, this.#bar(), this.#legend(), this.#help());
  }

  #heading() {
    const size = this.scene.size.map(short).join(" \u00d7 ");
    return element("header", {}, element("h1", {}, this.scene.title), element("p", {}, `size ${size}`));
  }

  #button(name, label, key, title, act) {
    const hint = key ? `${title} (${key.toUpperCase()})` : title;
    const made = element("button", { type: "button", title: hint, "aria-keyshortcuts": key, onclick: act }, label);
    this.buttons[name] = made;
    return made;
  }

  #bar() {
    const toggles = SWITCHES.filter(([name]) => this.#applies(name)).map(([name, key, label, title]) =>
      this.#button(name, label, key, title, () => this.actions.toggle(name)));
    const bar = element("div", { class: "bar", role: "toolbar", "aria-label": "Display" });
    if (toggles.length) bar.append(element("div", { class: "group" }, ...toggles));
    if (this.scene.limits) bar.append(this.#curvature());
    bar.append(element("div", { class: "group" },
      this.#button("dark", "Dark", "b", "dark background", () => this.actions.toggle("dark")),
      this.#button("fit", "Fit", "f", "show everything", () => this.actions.fit())));
    return bar;
  }

  #applies(name) {
    return this.model.has({ wireframe: "faces", edges: "rims" }[name] ?? name);
  }

  #curvature() {
    const choices = CURVATURES.map(([kind, label]) =>
      this.#button(`curvature-${kind}`, label, null, kind ? `colours by ${kind} curvature` : "plain colours",
        () => this.actions.set("curvature", kind)));
    const caption = element("span", { class: "caption", title: "next one (C)" }, "Curvature");
    return element("div", { class: "group", role: "group", "aria-label": "Curvature colours" }, caption, ...choices);
  }

  #legend() {
    const stops = this.scene.stops.map((stop) => `rgb(${stop.map((c) => Math.round(255 * c)).join(",")})`);
    this.ramp = element("div", { class: "ramp" });
    this.ramp.style.background = `linear-gradient(to top, ${stops.join(", ")})`;
    this.legendTitle = element("figcaption");
    this.ticks = element("ol");
    this.legend = element("figure", { class: "legend", hidden: true }, this.legendTitle,
      element("div", { class: "scale" }, this.ramp, this.ticks));
    return this.legend;
  }

  #objects() {
    const rows = this.model.groups.map((entry) => {
      const box = element("input", { type: "checkbox", checked: true, onchange: () => {
        entry.group.visible = box.checked;
        this.actions.redraw();
      } });
      const swatch = element("i", { "aria-hidden": "true" });
      swatch.style.background = entry.colour;
      return element("li", {}, element("label", {}, box, swatch, element("span", {}, entry.name)));
    });
    const summary = element("summary", {}, `${rows.length} objects`);
    return element("details", { class: "objects", open: true }, summary, element("ul", {}, ...rows));
  }

  #help() {
    const keys = [["drag", "turn"], ["right drag", "move"], ["wheel", "zoom"], ["arrows", "turn"], ["+ \u2212", "zoom"],
      ["F", "fit"], ["1 \u2013 6", "front back left right top bottom"], ["0", "oblique"], ["C", "curvature"],
      ["B", "background"], ...SWITCHES.map(([, key, label]) => [key.toUpperCase(), label.toLowerCase()]),
      ["H", "hide all this"]];
    const rows = keys.flatMap(([key, what]) => [element("dt", {}, key), element("dd", {}, what)]);
    this.help = element("details", { class: "help" }, element("summary", {}, "Keys"), element("dl", {}, ...rows));
    return this.help;
  }

  show(state) {
    this.root.hidden = state.bare;
    for (const [name] of [...SWITCHES, ["dark"]]) {
      this.buttons[name]?.setAttribute("aria-pressed", String(Boolean(state[name])));
    }
    for (const [kind] of CURVATURES) {
      this.buttons[`curvature-${kind}`]?.setAttribute("aria-pressed", String(kind === state.curvature));
    }
    this.legend.hidden = !state.curvature;
    if (state.curvature) this.#label(state.curvature);
  }

  #label(kind) {
    const limit = this.scene.limits[kind];
    const texts = limit > 0 ? [`+${short(limit)}`, "0", short(-limit)] : ["", "0", ""];
    this.legendTitle.textContent = kind === "mean" ? "Mean curvature" : "Gaussian curvature";
    this.ticks.replaceChildren(...texts.map((text) => element("li", {}, text)));
  }
}
