"""Pages to turn geometry in: one file, shown by WebGL, that asks no server for anything."""

from __future__ import annotations

import base64
import hashlib
import json
from html import escape
from pathlib import Path
from typing import Any, Dict, List, Optional, Tuple

import numpy as np

from .._arrays import FloatArray
from . import colours
from .drawing import NEEDLE, needles, view_of
from .options import Options, hex_of, is_dark, rgb
from .sampling import Faces, Lines
from .scene import Part, Scene
from .svg import clean

VIEWER = Path(__file__).resolve().parent.parent / "_viewer.js"
FULL, UNKNOWN = 32767, -32768  # of numbers in 16 bits; the viewer knows the same two
PLAIN_GROUND = (1.0, 1.0, 1.0)  # stands for the viewer's own light one
MOST_NEEDLE_PARTS = 200
SMALL = 65536  # vertices that indices of 16 bits reach


def document(scene: Scene) -> str:
    """The whole page. ImportError where the viewer was not built."""
    script = _viewer()
    title = clean(_title(scene))
    data = _in_script(_scene_data(scene, title))
    digest = base64.b64encode(hashlib.sha256(script.encode("utf-8")).digest()).decode("ascii")
    # Nothing but this script runs, and nothing at all is fetched.
    policy = (f"default-src 'none'; script-src 'sha256-{digest}'; style-src 'unsafe-inline'; "
              "img-src data:; base-uri 'none'; form-action 'none'")
    return f"""<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="{policy}">
<meta name="viewport" content="width=device-width, initial-scale=1">
<link rel="icon" href="data:,">
<title>{escape(title)}</title>
</head>
<body>
<noscript>This page shows its geometry by a script, which this browser has switched off.</noscript>
<script type="application/json" id="scene">{data}</script>
<script>{script}</script>
</body>
</html>
"""


def _viewer() -> str:
    try:
        return VIEWER.read_text(encoding="utf-8")
    except OSError as fault:
        raise ImportError(
            f"pages need the viewer {VIEWER}, which is not there: with npm installed, the build "
            "makes it (cmake --build build/release --target python_viewer); save('x.svg') does "
            "without"
        ) from fault


def _in_script(data: Dict[str, Any]) -> str:
    """JSON that cannot end the element it stands in."""
    text = json.dumps(data, ensure_ascii=True, allow_nan=False, separators=(",", ":"))
    return text.replace("<", "\\u003c").replace(">", "\\u003e").replace("&", "\\u0026")


def _title(scene: Scene) -> str:
    if scene.options.title:
        return scene.options.title
    if len(scene.groups) == 1:
        return scene.groups[0].name.capitalize()
    return f"{len(scene.groups)} objects"


# ---- the scene ----


def _scene_data(scene: Scene, title: str) -> Dict[str, Any]:
    limits = _limits(scene)
    pieces: Dict[Tuple[int, str, str], List[Part]] = {}
    for part in scene.parts:
        key = (part.group, hex_of(part.fill), hex_of(part.ink))
        pieces.setdefault(key, []).append(part)
    needled = len(scene.parts) <= MOST_NEEDLE_PARTS or scene.options.normals
    groups: List[Dict[str, Any]] = [
        {"name": clean(group.name), "colour": hex_of(group.colour), "pieces": []}
        for group in scene.groups
    ]
    for (group, fill, ink), parts in pieces.items():
        colours_of = {"fill": fill, "ink": ink}
        groups[group]["pieces"].append({**colours_of, **_piece(parts, scene, limits, needled)})
    return {
        "title": title,
        "size": [float(side) for side in scene.high - scene.low],
        "background": _ground(scene.options),
        "stops": colours.CURVATURE_STOPS.round(4).tolist(),
        "limits": limits,
        "state": _state(scene, limits),
        "groups": groups,
    }


def _state(scene: Scene, limits: Optional[Dict[str, float]]) -> Dict[str, Any]:
    options = scene.options
    return {
        "view": list(view_of(scene)), "edges": options.edges, "isolines": scene.isolines_shown,
        "wireframe": options.wireframe, "net": options.net, "normals": options.normals,
        "curvature": (options.curvature or "") if limits else "",
        "dark": options.background is not None and is_dark(rgb(options.background)),
    }


def _ground(options: Options) -> Optional[str]:
    if options.background is None or rgb(options.background) == PLAIN_GROUND:
        return None
    return hex_of(rgb(options.background))


def _limits(scene: Scene) -> Optional[Dict[str, float]]:
    """The curvatures with the strongest colours; None where nothing has a curvature."""
    faces = [part.faces for part in scene.parts if part.faces is not None]
    if not any(np.isfinite(one.gaussian).any() for one in faces):
        return None
    return {kind: colours.curvature_limit(scene, kind) for kind in ("gaussian", "mean")}


def _piece(
    parts: List[Part], scene: Scene, limits: Optional[Dict[str, float]], needled: bool
) -> Dict[str, Any]:
    """Parts of one colour as one: what is empty is left out."""
    faces = [part.faces for part in parts if part.faces is not None and len(part.faces.corners)]
    lines = {
        "rims": [line for part in parts for line in part.rims],
        "isolines": [line for part in parts for line in part.isolines],
        "curves": [line for part in parts for line in part.curves],
        "net": [line for part in parts for line in part.net],
        "normals": [line for one in faces for line in needles(one, NEEDLE * scene.radius)]
        if needled else [],
    }
    points = {"points": np.concatenate([part.points for part in parts]),
              "netPoints": np.concatenate([part.net_points for part in parts])}
    return {
        **({"faces": _faces(faces, scene, limits)} if faces else {}),
        **{name: _lines(found, scene) for name, found in lines.items() if found},
        **{name: _placed(found, scene) for name, found in points.items() if len(found)},
    }


def _faces(
    faces: List[Faces], scene: Scene, limits: Optional[Dict[str, float]]
) -> Dict[str, Any]:
    starts = np.cumsum([0] + [len(one.vertices) for one in faces])
    corners = np.concatenate([_turned(one) + start for one, start in zip(faces, starts)])
    wide = bool(starts[-1] > SMALL)
    data: Dict[str, Any] = {
        "vertices": _placed(np.concatenate([one.vertices for one in faces]), scene),
        "normals": _shorts(np.concatenate([one.normals for one in faces])),
        "wide": wide,
        "corners": _base64(corners.astype("<u4" if wide else "<u2")),
    }
    if limits:
        data["gaussian"] = _shares(np.concatenate([f.gaussian for f in faces]), limits["gaussian"])
        data["mean"] = _shares(np.concatenate([f.mean for f in faces]), limits["mean"])
    return data


def _turned(faces: Faces) -> "np.ndarray[Any, Any]":
    """The corners, anticlockwise about the normals: by their turn light finds the upper side."""
    a, b, c, d = (faces.vertices[faces.corners[:, k]] for k in range(4))
    flat = faces.corners[:, 2] == faces.corners[:, 3]
    normal = np.where(flat[:, None], np.cross(b - a, c - a), np.cross(c - a, d - b))
    wrong = np.einsum("ij,ij->i", normal, faces.normals[faces.corners].sum(axis=1)) < 0
    order = np.where(flat[:, None], [0, 2, 1, 1], [0, 3, 2, 1])
    turned = np.take_along_axis(faces.corners, order, axis=1)
    return np.where(wrong[:, None], turned, faces.corners)


def _lines(lines: Lines, scene: Scene) -> Dict[str, str]:
    ends = np.cumsum([len(line) for line in lines])
    return {"points": _placed(np.concatenate(lines), scene), "ends": _base64(ends.astype("<u4"))}


def _placed(points: FloatArray, scene: Scene) -> str:
    """From the box's centre, in its radius: so coordinates of any size keep their digits."""
    return _base64(((points - scene.centre) / scene.radius).astype("<f4"))


def _shorts(values: FloatArray) -> str:
    return _base64(np.rint(values * FULL).astype("<i2"))


def _shares(values: FloatArray, limit: float) -> str:
    """Curvatures as shares of the limit; a value of its own where there is none."""
    there = np.isfinite(values)
    shares = np.clip(np.where(there, values, 0.0) / (limit or np.inf), -1.0, 1.0)
    return _base64(np.where(there, np.rint(shares * FULL), UNKNOWN).astype("<i2"))


def _base64(array: "np.ndarray[Any, Any]") -> str:
    return base64.b64encode(np.ascontiguousarray(array).tobytes()).decode("ascii")
