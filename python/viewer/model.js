// The scene's objects as three's objects.
import {
  BufferAttribute,
  BufferGeometry,
  CanvasTexture,
  Color,
  DoubleSide,
  Group,
  LineBasicMaterial,
  LineSegments,
  Mesh,
  MeshStandardMaterial,
  Points,
  PointsMaterial,
  SRGBColorSpace,
  Vector3,
} from "three";
import { LineMaterial } from "three/addons/lines/LineMaterial.js";
import { LineSegments2 } from "three/addons/lines/LineSegments2.js";
import { LineSegmentsGeometry } from "three/addons/lines/LineSegmentsGeometry.js";
import { floats, indices, segments, shorts, sides, smallIndices, triangles } from "./decode.js";

const UNKNOWN = -32768; // a vertex without curvature
const FULL = 32767;
const NEUTRAL = [0.62, 0.62, 0.62];
const INK = new Color(0x21262f);
const PALE = new Color(0xf2f4f7);

/** Lines of `kind` on facets: [width in pixels, share of ink]. */
const LINES = { rims: [1.5, 0.72], isolines: [1, 0.5] };
const CURVE_WIDTH = 2.4;
const NET_WIDTH = 1.2;
const NET_COLOUR = 0x8c382e;
const NORMAL_COLOUR = 0x167a80;
const POINT_SIZE = 7;
const EXTENT_POINTS = 2000; // of an object

function curvatureColours(stops, values) {
  const out = new Float32Array(3 * values.length);
  const colour = new Color();
  for (let k = 0; k < values.length; ++k) {
    let rgb = NEUTRAL;
    if (values[k] !== UNKNOWN) {
      const at = ((values[k] / FULL + 1) / 2) * (stops.length - 1);
      const low = Math.min(Math.floor(at), stops.length - 2);
      rgb = stops[low].map((c, i) => c + (at - low) * (stops[low + 1][i] - c));
    }
    colour.setRGB(...rgb, SRGBColorSpace).toArray(out, 3 * k);
  }
  return new BufferAttribute(out, 3);
}

function disc() {
  const canvas = document.createElement("canvas");
  canvas.width = canvas.height = 64;
  const pen = canvas.getContext("2d");
  pen.fillStyle = "#fff";
  pen.arc(32, 32, 30, 0, 2 * Math.PI);
  pen.fill();
  return new CanvasTexture(canvas);
}

/** A control net shows through facets, faintly. */
const BEHIND = { transparent: true, opacity: 0.3, depthTest: false };

/** Marks on a facet stand before it whole. */
function bringForward(shader) {
  const projected = "#include <project_vertex>";
  shader.vertexShader = shader.vertexShader.replace(projected, `${projected}\n gl_Position.z -= 0.01 * gl_Position.w;`);
}

/** One part: facets, lines and points of a colour. */
class Piece {
  constructor(data, stops, round) {
    this.data = data;
    this.stops = stops;
    this.round = round;
    this.root = new Group();
    this.kinds = {};
    this.fill = new Color(data.fill);
    if (data.faces) this.#addFaces(data.faces);
    for (const [kind, [width, ink]] of Object.entries(LINES)) {
      this.#addLines(kind, data[kind], width, this.fill.clone().lerp(INK, ink));
    }
    this.#addLines("curves", data.curves, CURVE_WIDTH, new Color(data.ink));
    this.#addLines("net", data.net, NET_WIDTH, new Color(NET_COLOUR));
    this.#addLines("normals", data.normals, NET_WIDTH, new Color(NORMAL_COLOUR));
    this.#addPoints("points", data.points, new Color(data.ink), 1);
    this.#addPoints("net", data.netPoints, new Color(NET_COLOUR), 0.85);
  }

  #keep(kind, object) {
    (this.kinds[kind] ??= []).push(object);
    this.root.add(object);
  }

  #addFaces(faces) {
    const geometry = new BufferGeometry();
    geometry.setAttribute("position", new BufferAttribute(floats(faces.vertices), 3));
    geometry.setAttribute("normal", new BufferAttribute(shorts(faces.normals), 3, true));
    this.corners = (faces.wide ? indices : smallIndices)(faces.corners);
    geometry.setIndex(triangles(this.corners));
    const common = { side: DoubleSide, polygonOffset: true, polygonOffsetFactor: 1.5, polygonOffsetUnits: 2 };
    this.plain = new MeshStandardMaterial({ ...common, color: this.fill, roughness: 0.5, metalness: 0.05 });
    this.coloured = new MeshStandardMaterial({ ...common, vertexColors: true, roughness: 0.85 });
    this.mesh = new Mesh(geometry, this.plain);
    this.#keep("faces", this.mesh);
  }

  #addLines(kind, lines, width, colour) {
    if (!lines) return;
    const pairs = segments(lines);
    if (!pairs.length) return;
    const geometry = new LineSegmentsGeometry().setPositions(pairs);
    const look = { color: colour, linewidth: width };
    this.#keep(kind, new LineSegments2(geometry, new LineMaterial(look)));
    if (kind === "net") this.#keep(kind, new LineSegments2(geometry, new LineMaterial({ ...look, ...BEHIND })));
  }

  #addPoints(kind, points, colour, share) {
    if (!points) return;
    const geometry = new BufferGeometry();
    geometry.setAttribute("position", new BufferAttribute(floats(points), 3));
    const many = geometry.attributes.position.count > 2000;
    const look = {
      color: colour,
      size: share * (many ? POINT_SIZE / 2 : POINT_SIZE) * Math.min(devicePixelRatio, 2),
      sizeAttenuation: false,
      map: this.round,
      alphaTest: 0.1,
    };
    const material = new PointsMaterial(look);
    material.onBeforeCompile = bringForward;
    this.#keep(kind, new Points(geometry, material));
    if (kind === "net") this.#keep(kind, new Points(geometry, new PointsMaterial({ ...look, ...BEHIND })));
  }

  /** Made when it is first asked for: most pages never are. */
  #wireframe() {
    const position = this.mesh.geometry.attributes.position;
    const geometry = new BufferGeometry();
    geometry.setAttribute("position", position);
    geometry.setIndex(sides(this.corners, position.count));
    const colour = this.fill.clone().lerp(INK, 0.6);
    this.#keep("wireframe", new LineSegments(geometry, new LineBasicMaterial({ color: colour, transparent: true, opacity: 0.55 })));
  }

  show(state) {
    if (state.wireframe && this.mesh && !this.kinds.wireframe) this.#wireframe();
    const on = { ...state, faces: true, curves: true, points: true, rims: state.edges };
    for (const [kind, objects] of Object.entries(this.kinds)) {
      for (const object of objects) object.visible = Boolean(on[kind]);
    }
    // Curves and points in dark ink would vanish on a dark ground.
    for (const object of [...(this.kinds.curves ?? []), ...(this.kinds.points ?? [])]) {
      object.material.color.set(this.data.ink).lerp(PALE, state.dark ? 0.45 : 0);
    }
    if (this.mesh) this.#colour(state.curvature);
  }

  #colour(kind) {
    if (kind && this.colouredBy !== kind) {
      const values = shorts(this.data.faces[kind]);
      this.mesh.geometry.setAttribute("color", curvatureColours(this.stops, values));
      this.colouredBy = kind;
    }
    this.mesh.material = kind ? this.coloured : this.plain;
  }
}

export class Model {
  constructor(scene) {
    this.root = new Group();
    const round = disc();
    this.groups = scene.groups.map(({ name, colour, pieces }) => {
      const group = new Group();
      const made = pieces.map((piece) => new Piece(piece, scene.stops, round));
      for (const piece of made) group.add(piece.root);
      this.root.add(group);
      return { name, colour, group, pieces: made };
    });
  }

  /** The kinds of things there are: faces, rims, isolines, curves, points, net, normals. */
  has(kind) {
    return this.groups.some(({ pieces }) => pieces.some((piece) => kind in piece.kinds));
  }

  /** Points that a view of everything has to show. */
  extent() {
    const out = [];
    this.root.traverse(({ geometry }) => {
      const at = geometry?.attributes.instanceStart ?? geometry?.attributes.position;
      const step = Math.ceil((at?.count ?? 0) / EXTENT_POINTS);
      for (let k = 0; k < (at?.count ?? 0); k += step) out.push(new Vector3().fromBufferAttribute(at, k));
    });
    return out;
  }

  show(state) {
    for (const { pieces } of this.groups) for (const piece of pieces) piece.show(state);
  }
}
