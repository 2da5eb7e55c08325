import assert from 'node:assert/strict';
import test from 'node:test';
import {cutPolygon, draw, firstHit} from '../../src/geometry';

/** Places of nodes given one by one, in the order of the page: all x, all y, all z. */
function places(nodes: number[][]): Float32Array {
  return Float32Array.from([0, 1, 2].flatMap((c) => nodes.map((node) => node[c])));
}
const CUBE = [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0], [0, 0, 1], [1, 0, 1], [1, 1, 1], [0, 1, 1]];
const CUBE_FACES = [[0, 3, 2, 1], [4, 5, 6, 7], [0, 1, 5, 4], [1, 2, 6, 5], [2, 3, 7, 6], [3, 0, 4, 7]];
const words = (faces: number[][]) => Int32Array.from(faces.flatMap((face) => [face.length, ...face]));

function area(nodes: number[][], vertexNodes: Uint32Array, triangles: Uint32Array): number {
  let sum = 0;
  for (let t = 0; t < triangles.length; t += 3) {
    const [a, b, c] = [0, 1, 2].map((k) => nodes[vertexNodes[triangles[t + k]]]);
    const u = b.map((value, i) => value - a[i]);
    const v = c.map((value, i) => value - a[i]);
    sum += 0.5 * Math.hypot(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]);
  }
  return sum;
}

test('a cube has twelve triangles, three vertices a corner, and all its edges are features', () => {
  const drawn = draw(words(CUBE_FACES), places(CUBE), 8);
  assert.equal(drawn.triangles.length, 36);
  assert.equal(drawn.vertexNodes.length, 24);
  assert.equal(drawn.meshLines.length, 24);
  assert.equal(drawn.featureLines.length, 24);
  assert.equal(drawn.points.length, 0);
  assert.ok(Math.abs(area(CUBE, drawn.vertexNodes, drawn.triangles) - 6) < 1e-6);
});

test('normals look outward and have the length one', () => {
  const drawn = draw(words(CUBE_FACES), places(CUBE), 8);
  drawn.vertexNodes.forEach((node, vertex) => {
    const n = [...drawn.normals.subarray(3 * vertex, 3 * vertex + 3)];
    assert.ok(Math.abs(Math.hypot(...n) - 1) < 1e-6);
    assert.ok(n.reduce((sum, value, c) => sum + value * (CUBE[node][c] - 0.5), 0) > 0.4);
  });
});

test('faces of one plane share their vertices, and the edge between them is no feature', () => {
  const flat = [[0, 0, 0], [1, 0, 0], [2, 0, 0], [0, 1, 0], [1, 1, 0], [2, 1, 0]];
  const drawn = draw(words([[0, 1, 4, 3], [1, 2, 5, 4]]), places(flat), 6);
  assert.equal(drawn.vertexNodes.length, 6);
  assert.equal(drawn.meshLines.length, 2 * 7);
  assert.equal(drawn.featureLines.length, 2 * 6);
});

test('a polygon that is not convex is cut within itself', () => {
  const shape = [[0, 0, 0], [4, 0, 0], [4, 4, 0], [2, 1, 0], [0, 4, 0]];
  const drawn = draw(words([[0, 1, 2, 3, 4]]), places(shape), 5);
  assert.equal(drawn.triangles.length, 9);
  assert.ok(Math.abs(area(shape, drawn.vertexNodes, drawn.triangles) - 10) < 1e-6);
});

test('a polygon is cut with its own winding, from whichever side it is seen', () => {
  const shape = [[0, 0, 0], [0, 2, 0], [0, 3, 1], [0, 2, 2], [0, 0, 2]];
  for (const turn of [1, -1]) {
    const points = turn > 0 ? shape : [...shape].reverse();
    for (const [i, j, k] of cutPolygon(points, [turn, 0, 0])) {
      const u = points[j].map((value, c) => value - points[i][c]);
      const v = points[k].map((value, c) => value - points[i][c]);
      assert.ok((u[1] * v[2] - u[2] * v[1]) * turn > 0);
    }
  }
});

test('faces of two nodes are lines and nodes without a face are points', () => {
  const drawn = draw(words([[0, 1], [2]]), places([[0, 0, 0], [1, 0, 0], [2, 0, 0], [3, 0, 0]]), 4);
  assert.equal(drawn.triangles.length, 0);
  assert.deepEqual([...drawn.meshLines], [0, 1]);
  assert.deepEqual([...drawn.points], [2, 3]);
});

test('a body without anything draws nothing', () => {
  const drawn = draw(new Int32Array(), new Float32Array(), 0);
  assert.equal(drawn.triangles.length + drawn.points.length + drawn.meshLines.length, 0);
});

test('faces without extent do no harm', () => {
  const drawn = draw(words([[0, 1, 2], [0, 1, 2, 3, 4]]), new Float32Array(15), 5);
  assert.ok(drawn.normals.every(Number.isFinite));
});

test('a ray meets the nearest triangle', () => {
  const drawn = draw(words(CUBE_FACES), places(CUBE), 8);
  const interleaved = Float32Array.from(CUBE.flat());
  const hit = firstHit([0.2, 0.3, 5], [0, 0, -1], drawn.triangles, drawn.vertexNodes, interleaved);
  assert.ok(hit);
  assert.ok(Math.abs(hit.distance - 4) < 1e-6);
  assert.ok(hit.nodes.every((node) => node >= 4));
  assert.equal(firstHit([2, 2, 5], [0, 0, -1], drawn.triangles, drawn.vertexNodes, interleaved), null);
});
