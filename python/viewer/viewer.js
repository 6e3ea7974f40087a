// A page's scene, turned by hand. Nothing is fetched: all of it stands in the page.
import { Color, DirectionalLight, HemisphereLight, PerspectiveCamera, Scene, Spherical, Vector3, WebGLRenderer } from "three";
import { OrbitControls } from "three/addons/controls/OrbitControls.js";
import { Model } from "./model.js";
import { element, Panel } from "./panel.js";
import { CURVATURES, stateFrom, SWITCHES, VIEWS } from "./state.js";
import style from "./viewer.css";

const FIELD = 28; // degrees
const [TOP, BOTTOM, SIDE, LEGEND] = [34, 84, 24, 150]; // pixels around the scene
const LEAST_DISTANCE = 0.5; // in radii of the scene
const ROUNDS = 4; // of bringing the scene to the middle
const TURN = 5; // degrees a key press
const ZOOM = 1.15;
const NUMBERED = ["front", "back", "left", "right", "top", "bottom"];
const POLE = 1e-4; // from straight above, where "up" would be lost

class Viewer {
  constructor(data) {
    this.data = data;
    this.state = stateFrom(data.state, location.hash);
    this.canvas = element("canvas", { tabindex: 0, role: "img", "aria-label": `${data.title}: drag to turn` });
    this.renderer = new WebGLRenderer({ canvas: this.canvas, antialias: true, alpha: true });
    this.renderer.setPixelRatio(Math.min(devicePixelRatio, 2));
    this.model = new Model(data);
    this.scene = new Scene();
    this.scene.add(this.model.root);
    this.extent = this.model.extent();
    this.camera = new PerspectiveCamera(FIELD, 1, 0.01, 100);
    this.camera.up.set(0, 0, 1);
    this.#light();
    this.controls = new OrbitControls(this.camera, this.canvas);
    this.controls.zoomToCursor = true;
    this.controls.addEventListener("change", () => this.redraw());
    this.panel = new Panel(data, this.model, this);
    document.body.append(this.canvas, this.panel.root);
    addEventListener("resize", () => this.#resize());
    addEventListener("keydown", (event) => this.#key(event));
    addEventListener("hashchange", () => this.#restate());
    this.#resize();
    this.look(this.state.view);
    this.#show();
  }

  /** Lights go with the eye, so that what is looked at is lit. */
  #light() {
    const key = new DirectionalLight(0xffffff, 2.4);
    key.position.set(-0.9, 1.25, 1.1);
    const sky = new HemisphereLight(0xffffff, 0xaeb4c0, 1.35);
    sky.position.set(0, 1, 0);
    this.camera.add(key, key.target, sky);
    key.target.position.set(0, 0, -1);
    this.scene.add(this.camera);
  }

  #resize() {
    this.renderer.setSize(innerWidth, innerHeight, false);
    this.camera.aspect = innerWidth / Math.max(innerHeight, 1);
    this.#place();
    this.redraw();
  }

  /** The scene's middle stands in the middle of what the controls leave free. */
  #place() {
    const down = (this.#bottom - this.#top) / 2;
    const left = this.#right / 2;
    this.camera.setViewOffset(innerWidth, innerHeight, left, down, innerWidth, innerHeight);
  }

  /** Looks from a direction so that all of the scene stands clear of the controls, in their middle. */
  #frame(towards) {
    const right = new Vector3().crossVectors(this.camera.up, towards).normalize();
    const up = new Vector3().crossVectors(towards, right);
    const upright = Math.tan((FIELD * Math.PI) / 360);
    const [width, height] = [innerWidth - 2 * SIDE - this.#right, innerHeight - this.#top - this.#bottom].map((s) => Math.max(s, 50));
    const slopes = [width, height].map((side) => (upright * side) / Math.max(innerHeight, 1));
    const seen = this.extent.map((point) => [point.dot(right), point.dot(up), point.dot(towards)]);
    const middle = [0, 0];
    let distance = LEAST_DISTANCE;
    for (let round = 0; round < ROUNDS; ++round) {
      distance = LEAST_DISTANCE;
      for (const place of seen) {
        for (const k of [0, 1]) distance = Math.max(distance, place[2] + Math.abs(place[k] - middle[k]) / slopes[k]);
      }
      for (const k of [0, 1]) {
        const sides = seen.map((place) => (place[k] - middle[k]) / Math.max(distance - place[2], LEAST_DISTANCE / 2));
        const extremes = sides.reduce(([low, high], side) => [Math.min(low, side), Math.max(high, side)], [Infinity, -Infinity]);
        if (seen.length) middle[k] += ((extremes[0] + extremes[1]) / 2) * distance;
      }
    }
    this.controls.target.copy(right.multiplyScalar(middle[0])).addScaledVector(up, middle[1]);
    this.camera.position.copy(this.controls.target).addScaledVector(towards, distance);
    this.controls.update();
    this.redraw();
  }

  get #top() {
    return this.state.bare ? SIDE : TOP;
  }

  get #right() {
    return this.state.curvature && !this.state.bare ? LEGEND : 0;
  }

  get #bottom() {
    return this.state.bare ? SIDE : BOTTOM;
  }

  /** Looks at everything from an azimuth and an elevation in degrees. */
  look([azimuth, elevation]) {
    const [a, e] = [azimuth, elevation].map((angle) => (angle * Math.PI) / 180);
    const from = Math.min(Math.max(Math.PI / 2 - e, POLE), Math.PI - POLE);
    const flat = Math.sin(from);
    this.#frame(new Vector3(flat * Math.cos(a), flat * Math.sin(a), Math.cos(from)));
  }

  fit() {
    this.#frame(this.camera.position.clone().sub(this.controls.target).normalize());
  }

  #orbit(across, up, closer = 1) {
    const from = this.camera.position.clone().sub(this.controls.target);
    const [x, y, z] = [from.x, from.y, from.z];
    const place = new Spherical().setFromVector3(new Vector3(y, z, x)); // three's spheres have y upright
    place.theta += (across * Math.PI) / 180;
    place.phi = Math.min(Math.max(place.phi - (up * Math.PI) / 180, POLE), Math.PI - POLE);
    place.radius /= closer;
    const turned = new Vector3().setFromSpherical(place);
    this.camera.position.set(turned.z, turned.x, turned.y).add(this.controls.target);
    this.controls.update();
    this.redraw();
  }

  set(name, value) {
    this.state[name] = value;
    this.#show();
  }

  toggle(name) {
    this.set(name, !this.state[name]);
  }

  #restate() {
    this.state = stateFrom(this.data.state, location.hash);
    this.look(this.state.view);
    this.#show();
  }

  #show() {
    if (!this.data.limits) this.state.curvature = "";
    const { dark } = this.state;
    const { background } = this.data;
    document.documentElement.classList.toggle("dark", dark);
    // A ground of the caller's own, until the other one is asked for.
    this.scene.background = background && dark === this.data.state.dark ? new Color(background) : null;
    this.#place();
    this.model.show(this.state);
    this.panel.show(this.state);
    this.redraw();
  }

  #key(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const act = this.#actionOf(event.key.length === 1 ? event.key.toLowerCase() : event.key, event.target);
    if (!act) return;
    event.preventDefault();
    act();
  }

  #actionOf(key, target) {
    const named = SWITCHES.find(([, letter]) => letter === key);
    if (named) return () => this.toggle(named[0]);
    if (key >= "1" && key <= "6") return () => this.look(VIEWS[NUMBERED[key - 1]]);
    const others = {
      0: () => this.look(VIEWS.iso),
      b: () => this.toggle("dark"),
      c: () => this.#nextCurvature(),
      f: () => this.fit(),
      h: () => this.toggle("bare"),
      "?": () => this.panel.help.toggleAttribute("open"),
      "+": () => this.#orbit(0, 0, ZOOM),
      "=": () => this.#orbit(0, 0, ZOOM),
      "-": () => this.#orbit(0, 0, 1 / ZOOM),
      Escape: () => this.set("bare", false),
    };
    if (Object.hasOwn(others, key)) return others[key];
    if (target !== document.body && target !== this.canvas) return null; // arrows move in lists
    return { ArrowLeft: () => this.#orbit(-TURN, 0), ArrowRight: () => this.#orbit(TURN, 0),
      ArrowUp: () => this.#orbit(0, TURN), ArrowDown: () => this.#orbit(0, -TURN) }[key];
  }

  #nextCurvature() {
    const at = CURVATURES.findIndex(([kind]) => kind === this.state.curvature);
    this.set("curvature", CURVATURES[(at + 1) % CURVATURES.length][0]);
  }

  /** Once a frame at most, and only when something has changed. */
  redraw() {
    if (this.waiting) return;
    this.waiting = true;
    requestAnimationFrame(() => {
      this.waiting = false;
      const apart = this.camera.position.length();
      this.camera.near = Math.max(apart - 1.5, apart / 1000);
      this.camera.far = apart + 1.5;
      this.camera.updateProjectionMatrix();
      this.renderer.render(this.scene, this.camera);
    });
  }
}

function start() {
  document.head.append(element("style", {}, style));
  document.getElementById("waiting")?.remove();
  try {
    new Viewer(JSON.parse(document.getElementById("scene").textContent));
  } catch (fault) {
    const text = "This page needs WebGL, which this browser does not offer or has switched off.";
    document.body.replaceChildren(element("div", { class: "notice", role: "alert" },
      element("h1", {}, document.title), element("p", {}, text), element("p", { class: "detail" }, String(fault.message ?? fault))));
  }
}

start();
