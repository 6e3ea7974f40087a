// What is switched on, read from the page and from the address behind its '#'.

/** [name, its letter, its label, what it does]. */
export const SWITCHES = [
  ["edges", "e", "Edges", "rims of surfaces"],
  ["isolines", "i", "Iso-lines", "lines of constant parameter"],
  ["wireframe", "w", "Wireframe", "sides of all facets"],
  ["net", "n", "Control net", "control points and the lines between them"],
  ["normals", "m", "Normals", "needles along the normals"],
];

export const CURVATURES = [
  ["", "Off"],
  ["gaussian", "Gaussian"],
  ["mean", "Mean"],
];

export const VIEWS = {
  iso: [-45, 35.26],
  front: [-90, 0],
  back: [90, 0],
  left: [180, 0],
  right: [0, 0],
  top: [-90, 90],
  bottom: [-90, -90],
};

/**
 * The page's own state, changed by words such as "#wireframe,net,-edges,gaussian,dark,top,bare":
 * a name switches on, with a minus off; "bare" hides all controls.
 */
export function stateFrom(initial, hash) {
  const state = { ...initial, view: initial.view, bare: false };
  for (const word of decodeURIComponent(hash.replace(/^#/, "")).split(",")) {
    const on = !word.startsWith("-");
    const name = on ? word : word.slice(1);
    if (SWITCHES.some(([known]) => known === name) || name === "dark" || name === "bare") {
      state[name] = on;
    } else if (CURVATURES.some(([known]) => known && known === name)) {
      state.curvature = on ? name : "";
    } else if (name === "light") {
      state.dark = false;
    } else if (name in VIEWS) {
      state.view = VIEWS[name];
    }
  }
  return state;
}
