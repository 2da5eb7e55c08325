// What is drawn of a list of polygons: triangles with normals, feature edges, mesh lines, loose lines and points.
import {ShapeUtils, Vector2} from 'three';

export interface Drawn {
  /** the node of each vertex; a node has several where faces meet at a crease */
  vertexNodes: Uint32Array;
  /** three per vertex */
  normals: Float32Array;
  /** three vertices per triangle */
  triangles: Uint32Array;
  /** two nodes per segment */
  meshLines: Uint32Array;
  featureLines: Uint32Array;
  /** nodes that no face has: drawn as points */
  points: Uint32Array;
}

const CREASE = Math.cos((35 * Math.PI) / 180);

interface Polygons {
  /** where each polygon of three vertices or more begins in `corners`; one more at the end */
  begins: Uint32Array;
  corners: Uint32Array;
  normals: Float32Array;
  /** polygons of two vertices */
  segments: number[];
  used: Uint8Array;
}

function polygonsOf(faces: Int32Array, places: Float32Array, n: number): Polygons {
  const begins: number[] = [];
  const corners: number[] = [];
  const segments: number[] = [];
  const used = new Uint8Array(n);
  for (let at = 0; at < faces.length; ) {
    const count = faces[at++];
    if (count === 2) segments.push(faces[at], faces[at + 1]);
    if (count > 2) begins.push(corners.length);
    for (let k = 0; k < count; ++k) {
      if (count > 1) used[faces[at + k]] = 1;
      if (count > 2) corners.push(faces[at + k]);
    }
    at += count;
  }
  begins.push(corners.length);
  const polygons = {begins: Uint32Array.from(begins), corners: Uint32Array.from(corners),
                    normals: new Float32Array(3 * (begins.length - 1)), segments, used};
  for (let p = 0; p + 1 < begins.length; ++p) newellNormal(polygons, p, places, n);
  return polygons;
}

/** The sum over the sides of a polygon, which is its normal times twice its area (M. E. Newell). */
function newellNormal(polygons: Polygons, p: number, places: Float32Array, n: number) {
  const {begins, corners, normals} = polygons;
  let x = 0;
  let y = 0;
  let z = 0;
  for (let k = begins[p], before = begins[p + 1] - 1; k < begins[p + 1]; before = k++) {
    const a = corners[before];
    const b = corners[k];
    x += (places[n + a] - places[n + b]) * (places[2 * n + a] + places[2 * n + b]);
    y += (places[2 * n + a] - places[2 * n + b]) * (places[a] + places[b]);
    z += (places[a] - places[b]) * (places[n + a] + places[n + b]);
  }
  normals.set([x, y, z], 3 * p);
}

function dot(a: Float32Array, i: number, b: Float32Array, j: number): number {
  return a[3 * i] * b[3 * j] + a[3 * i + 1] * b[3 * j + 1] + a[3 * i + 2] * b[3 * j + 2];
}

function angleBelow(normals: Float32Array, a: number, b: number, cosine: number): boolean {
  const product = dot(normals, a, normals, b);
  return product >= cosine * Math.sqrt(dot(normals, a, normals, a) * dot(normals, b, normals, b));
}

/** For each node the polygon corners that it is at: `corners` indices from begin[node] to begin[node + 1]. */
function cornersByNode(corners: Uint32Array, n: number) {
  const begin = new Uint32Array(n + 1);
  for (const node of corners) ++begin[node + 1];
  for (let i = 0; i < n; ++i) begin[i + 1] += begin[i];
  const list = new Uint32Array(corners.length);
  const next = begin.slice(0, n);
  for (let k = 0; k < corners.length; ++k) list[next[corners[k]]++] = k;
  return {begin, list};
}

/** A vertex for each smooth group of corners of a node. */
function smoothVertices(polygons: Polygons, n: number) {
  const {begins, corners, normals} = polygons;
  const polygonOf = new Uint32Array(corners.length);
  for (let p = 0; p + 1 < begins.length; ++p) polygonOf.fill(p, begins[p], begins[p + 1]);
  const {begin, list} = cornersByNode(corners, n);
  const vertexOf = new Uint32Array(corners.length);
  const vertexNodes: number[] = [];
  const vertexNormals: number[] = [];
  for (let node = 0; node < n; ++node) {
    const first = vertexNodes.length;
    for (let i = begin[node]; i < begin[node + 1]; ++i) {
      const own = polygonOf[list[i]];
      let x = 0;
      let y = 0;
      let z = 0;
      for (let j = begin[node]; j < begin[node + 1]; ++j) {
        const other = polygonOf[list[j]];
        if (other !== own && !angleBelow(normals, own, other, CREASE)) continue;
        x += normals[3 * other];
        y += normals[3 * other + 1];
        z += normals[3 * other + 2];
      }
      const length = Math.hypot(x, y, z) || 1;
      x /= length;
      y /= length;
      z /= length;
      let vertex = first;
      while (vertex < vertexNodes.length &&
             vertexNormals[3 * vertex] * x + vertexNormals[3 * vertex + 1] * y + vertexNormals[3 * vertex + 2] * z < 0.999) ++vertex;
      if (vertex === vertexNodes.length) {
        vertexNodes.push(node);
        vertexNormals.push(x, y, z);
      }
      vertexOf[list[i]] = vertex;
    }
  }
  return {vertexOf, vertexNodes: Uint32Array.from(vertexNodes), vertexNormals: Float32Array.from(vertexNormals)};
}

/** The triangles of a polygon of more than four vertices, as places in it. */
export function cutPolygon(points: number[][], normal: number[]): number[][] {
  const away = normal.map(Math.abs);
  const drop = away[0] >= away[1] && away[0] >= away[2] ? 0 : away[1] >= away[2] ? 1 : 2;
  const [u, v] = [(drop + 1) % 3, (drop + 2) % 3];
  const flat = points.map((point) => new Vector2(point[u], normal[drop] < 0 ? -point[v] : point[v]));
  return ShapeUtils.triangulateShape(flat, []);
}

function trianglesOf(polygons: Polygons, vertexOf: Uint32Array, places: Float32Array, n: number): Uint32Array {
  const {begins, corners, normals} = polygons;
  const triangles: number[] = [];
  const place = (corner: number) => [0, 1, 2].map((c) => places[c * n + corners[corner]]);
  for (let p = 0; p + 1 < begins.length; ++p) {
    const b = begins[p];
    const count = begins[p + 1] - b;
    const add = (i: number, j: number, k: number) => triangles.push(vertexOf[b + i], vertexOf[b + j], vertexOf[b + k]);
    if (count === 3) {
      add(0, 1, 2);
    } else if (count === 4) {
      // Along the shorter diagonal.
      const length = (i: number, j: number) => {
        const s = place(b + i);
        const t = place(b + j);
        return (s[0] - t[0]) ** 2 + (s[1] - t[1]) ** 2 + (s[2] - t[2]) ** 2;
      };
      if (length(0, 2) <= length(1, 3)) {
        add(0, 1, 2);
        add(0, 2, 3);
      } else {
        add(0, 1, 3);
        add(1, 2, 3);
      }
    } else {
      const points: number[][] = [];
      for (let k = 0; k < count; ++k) points.push(place(b + k));
      for (const [i, j, k] of cutPolygon(points, Array.from(normals.subarray(3 * p, 3 * p + 3)))) add(i, j, k);
    }
  }
  return Uint32Array.from(triangles);
}

/** All edges once, and those at a crease, at a rim or where more than two faces meet. */
function edgesOf(polygons: Polygons, n: number, crease: number) {
  const {begins, corners, normals} = polygons;
  const sides = new Float64Array(corners.length);
  const owner = new Uint32Array(corners.length);
  for (let p = 0; p + 1 < begins.length; ++p) {
    for (let k = begins[p], before = begins[p + 1] - 1; k < begins[p + 1]; before = k++) {
      const a = Math.min(corners[before], corners[k]);
      const b = Math.max(corners[before], corners[k]);
      sides[k] = a * n + b;
      owner[k] = p;
    }
  }
  const order = Uint32Array.from(sides.keys()).sort((i, j) => sides[i] - sides[j]);
  const mesh: number[] = [];
  const feature: number[] = [];
  for (let i = 0; i < order.length; ) {
    let next = i + 1;
    while (next < order.length && sides[order[next]] === sides[order[i]]) ++next;
    const a = Math.floor(sides[order[i]] / n);
    const b = sides[order[i]] - a * n;
    mesh.push(a, b);
    const smooth = next - i === 2 && angleBelow(normals, owner[order[i]], owner[order[i + 1]], crease);
    if (!smooth) feature.push(a, b);
    i = next;
  }
  return {mesh: Uint32Array.from(mesh), feature: Uint32Array.from(feature)};
}

export function draw(faces: Int32Array, places: Float32Array, n: number): Drawn {
  const polygons = polygonsOf(faces, places, n);
  const {vertexOf, vertexNodes, vertexNormals} = smoothVertices(polygons, n);
  const {mesh, feature} = edgesOf(polygons, n, CREASE);
  const withSegments = (lines: Uint32Array) => {
    if (polygons.segments.length === 0) return lines;
    const all = new Uint32Array(lines.length + polygons.segments.length);
    all.set(lines);
    all.set(polygons.segments, lines.length);
    return all;
  };
  const points: number[] = [];
  for (let node = 0; node < n; ++node) if (!polygons.used[node]) points.push(node);
  return {vertexNodes, normals: vertexNormals, triangles: trianglesOf(polygons, vertexOf, places, n),
          meshLines: withSegments(mesh), featureLines: withSegments(feature), points: Uint32Array.from(points)};
}

/** The first triangle that a ray meets, of nodes at `places` (three per node); null when it meets none. */
export function firstHit(origin: number[], direction: number[], triangles: Uint32Array, vertexNodes: Uint32Array,
                         places: Float32Array): {nodes: number[]; distance: number} | null {
  // T. Moeller, B. Trumbore, Fast, minimum storage ray/triangle intersection, 1997.
  const [dx, dy, dz] = direction;
  let best = Infinity;
  let found = -1;
  for (let t = 0; t < triangles.length; t += 3) {
    const a = 3 * vertexNodes[triangles[t]];
    const b = 3 * vertexNodes[triangles[t + 1]];
    const c = 3 * vertexNodes[triangles[t + 2]];
    const e1x = places[b] - places[a], e1y = places[b + 1] - places[a + 1], e1z = places[b + 2] - places[a + 2];
    const e2x = places[c] - places[a], e2y = places[c + 1] - places[a + 1], e2z = places[c + 2] - places[a + 2];
    const px = dy * e2z - dz * e2y, py = dz * e2x - dx * e2z, pz = dx * e2y - dy * e2x;
    const determinant = e1x * px + e1y * py + e1z * pz;
    if (determinant === 0) continue;
    const sx = origin[0] - places[a], sy = origin[1] - places[a + 1], sz = origin[2] - places[a + 2];
    const u = (sx * px + sy * py + sz * pz) / determinant;
    if (!(u >= 0 && u <= 1)) continue;
    const qx = sy * e1z - sz * e1y, qy = sz * e1x - sx * e1z, qz = sx * e1y - sy * e1x;
    const v = (dx * qx + dy * qy + dz * qz) / determinant;
    if (!(v >= 0 && u + v <= 1)) continue;
    const distance = (e2x * qx + e2y * qy + e2z * qz) / determinant;
    if (distance > 0 && distance < best) {
      best = distance;
      found = t;
    }
  }
  if (found < 0) return null;
  return {nodes: [0, 1, 2].map((k) => vertexNodes[triangles[found + k]]), distance: best};
}
