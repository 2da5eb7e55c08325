// A body in the scene: its surface, lines and points, and the textures that move and color them.
import * as THREE from 'three';
import {NO_NUMBER} from './codec';
import {type ColorMap, table} from './colors';
import type {Body, Field, KindName} from './data';
import type {Values} from './fields';
import {type Drawn, draw} from './geometry';
import * as shaders from './shaders';

export interface SceneColors {
  plain: string;
  unknown: string;
  edge: string;
  mesh: string;
  ghost: string;
  interface: string;
}

/** A mode at work: its data, and by how much. */
export interface Active {
  mode: number;
  weight: number;
  field: Field;
}

const MOST_TEXTURE_BYTES = 192e6;

function rgb(color: string): THREE.Vector3 {
  const c = new THREE.Color().setStyle(color, THREE.LinearSRGBColorSpace);
  return new THREE.Vector3(c.r, c.g, c.b);
}

export class BodyScene {
  readonly group = new THREE.Group();
  readonly drawn: Drawn;
  private readonly rows: number;
  private readonly layers: number;
  private readonly modes: THREE.DataArrayTexture;
  private readonly modeOfLayer: number[] = [];
  private readonly usedAt: number[] = [];
  private clock = 0;
  private readonly values: THREE.DataTexture;
  private readonly colors: THREE.DataTexture;
  private readonly morph;
  private readonly coloring;
  private readonly surface: THREE.Mesh;
  private readonly ghost: THREE.Mesh;
  private readonly edges: THREE.LineSegments;
  private readonly mesh: THREE.LineSegments;
  private readonly ghostEdges: THREE.LineSegments;
  private readonly points: THREE.Points;
  private readonly interfacePoints: THREE.Points;
  /** where values are known at a part of the nodes: those nodes as points, since few faces have a color then */
  private readonly known = new Map<KindName, THREE.Points>();
  private pixelRatio = 1;
  active: Active[] = [];
  /** what the modal coordinates are multiplied with for the eye */
  scale = 0;

  constructor(readonly body: Body) {
    const n = Math.max(body.nodeCount, 1);
    this.drawn = draw(body.faces, body.places, body.nodeCount);
    this.rows = Math.ceil(n / shaders.TEXTURE_WIDTH);
    const texels = shaders.TEXTURE_WIDTH * this.rows;
    this.layers = Math.max(1, Math.min(body.about.modes.length, shaders.MOST_LAYERS, Math.floor(MOST_TEXTURE_BYTES / (8 * texels))));
    this.modes = new THREE.DataArrayTexture(new Int16Array(4 * texels * this.layers), shaders.TEXTURE_WIDTH, this.rows, this.layers);
    this.modes.format = THREE.RGBAIntegerFormat;
    this.modes.type = THREE.ShortType;
    this.modes.internalFormat = 'RGBA16I';
    this.modes.needsUpdate = true;
    this.values = new THREE.DataTexture(new Float32Array(texels), shaders.TEXTURE_WIDTH, this.rows, THREE.RedFormat, THREE.FloatType);
    this.values.internalFormat = 'R32F';
    this.values.needsUpdate = true;
    this.colors = new THREE.DataTexture(new Uint8Array(1024), 256, 1, THREE.RGBAFormat);
    this.colors.magFilter = this.colors.minFilter = THREE.LinearFilter;
    this.morph = {
      uModes: {value: this.modes},
      uCount: {value: 0},
      uLayer: {value: new Int32Array(shaders.MOST_LAYERS)},
      uWeight: {value: new Float32Array(shaders.MOST_LAYERS)},
    };
    this.coloring = {
      uValues: {value: this.values},
      uColors: {value: this.colors},
      uFactor: {value: 1},
      uLow: {value: 0},
      uHigh: {value: 1},
      uMagnitude: {value: true},
      uColored: {value: false},
      uPlain: {value: rgb('#999')},
      uUnknown: {value: rgb('#777')},
    };
    this.surface = this.makeSurface();
    this.ghost = this.makeGhost();
    this.mesh = this.makeLines(this.drawn.meshLines, 0.5, this.morph);
    this.edges = this.makeLines(this.drawn.featureLines, 0.9, this.morph);
    this.ghostEdges = this.makeLines(this.drawn.featureLines, 0.4, {...this.morph, uCount: {value: 0}});
    this.points = this.makePoints(this.drawn.points, 5, this.coloring, 0);
    this.interfacePoints = this.makePoints(Uint32Array.from(body.about.interfaceNodes), 6,
                                           {...this.coloring, uColored: {value: false}, uPlain: {value: rgb('#f80')}}, 0.0015);
    this.group.add(this.surface, this.ghost, this.mesh, this.edges, this.ghostEdges, this.points, this.interfacePoints);
  }

  // ---- parts

  private attributes(nodes: Uint32Array): THREE.BufferGeometry {
    const n = this.body.nodeCount;
    const positions = new Float32Array(3 * nodes.length);
    nodes.forEach((node, i) => {
      for (let c = 0; c < 3; ++c) positions[3 * i + c] = this.body.places[c * n + node];
    });
    const geometry = new THREE.BufferGeometry();
    geometry.setAttribute('position', new THREE.BufferAttribute(positions, 3));
    geometry.setAttribute('node', new THREE.BufferAttribute(Float32Array.from(nodes), 1));
    return geometry;
  }

  private makeSurface(): THREE.Mesh {
    const geometry = this.attributes(this.drawn.vertexNodes);
    geometry.setAttribute('normal', new THREE.BufferAttribute(this.drawn.normals, 3));
    geometry.setIndex(new THREE.BufferAttribute(this.drawn.triangles, 1));
    const material = new THREE.ShaderMaterial({
      uniforms: {...this.morph, ...this.coloring}, vertexShader: shaders.SURFACE_VERTEX, fragmentShader: shaders.SURFACE_FRAGMENT,
      side: THREE.DoubleSide, polygonOffset: true, polygonOffsetFactor: 1, polygonOffsetUnits: 1,
    });
    const mesh = new THREE.Mesh(geometry, material);
    mesh.frustumCulled = false;
    return mesh;
  }

  private makeGhost(): THREE.Mesh {
    const material = new THREE.ShaderMaterial({
      uniforms: {uColor: {value: rgb('#888')}, uOpacity: {value: 0.5}}, vertexShader: shaders.GHOST_VERTEX,
      fragmentShader: shaders.GHOST_FRAGMENT, transparent: true, depthWrite: false, side: THREE.FrontSide,
    });
    const mesh = new THREE.Mesh(this.surface.geometry, material);
    mesh.frustumCulled = false;
    mesh.renderOrder = 2;
    return mesh;
  }

  private makeLines(nodes: Uint32Array, opacity: number, morph: object): THREE.LineSegments {
    const material = new THREE.ShaderMaterial({
      uniforms: {...morph, uColor: {value: rgb('#000')}, uOpacity: {value: opacity}, uNearer: {value: 0.00012}} as never,
      vertexShader: shaders.LINE_VERTEX, fragmentShader: shaders.LINE_FRAGMENT, transparent: opacity < 1, depthWrite: false,
    });
    const lines = new THREE.LineSegments(this.attributes(nodes), material);
    lines.frustumCulled = false;
    lines.renderOrder = 1;
    return lines;
  }

  private makePoints(nodes: Uint32Array, size: number, coloring: object, nearer: number): THREE.Points {
    const material = new THREE.ShaderMaterial({
      uniforms: {...this.morph, ...coloring, uSize: {value: size}, uNearer: {value: nearer}} as never,
      vertexShader: shaders.POINT_VERTEX, fragmentShader: shaders.POINT_FRAGMENT,
    });
    const points = new THREE.Points(this.attributes(nodes), material);
    points.frustumCulled = false;
    points.renderOrder = 1;
    return points;
  }

  // ---- what is shown

  paint(colors: SceneColors, pixelRatio: number) {
    const set = (object: THREE.Object3D, name: string, value: unknown) => {
      ((object as THREE.Mesh).material as THREE.ShaderMaterial).uniforms[name].value = value;
    };
    this.coloring.uPlain.value = rgb(colors.plain);
    this.coloring.uUnknown.value = rgb(colors.unknown);
    set(this.edges, 'uColor', rgb(colors.edge));
    set(this.mesh, 'uColor', rgb(colors.mesh));
    set(this.ghost, 'uColor', rgb(colors.ghost));
    set(this.ghostEdges, 'uColor', rgb(colors.ghost));
    set(this.interfacePoints, 'uPlain', rgb(colors.interface));
    this.pixelRatio = pixelRatio;
    set(this.points, 'uSize', (this.body.nodeCount > 2000 ? 4 : this.body.nodeCount > 20 ? 8 : 12) * pixelRatio);
    set(this.interfacePoints, 'uSize', 5.5 * pixelRatio);
  }

  private showKnown(kind: KindName | null) {
    const rows = kind ? this.body.rows[kind] : null;
    if (kind && rows && !this.known.has(kind)) {
      const nodes = Array.from(rows.keys()).filter((node) => rows[node] >= 0);
      const points = this.makePoints(Uint32Array.from(nodes), 6 * this.pixelRatio, this.coloring, 0.0012);
      this.known.set(kind, points);
      this.group.add(points);
    }
    for (const [one, points] of this.known) points.visible = one === kind;
  }

  show(what: {edges: boolean; mesh: boolean; ghost: boolean; interface: boolean}) {
    const hasFaces = this.drawn.triangles.length > 0;
    const loose = this.body.about.geometry.faces > 0 && !hasFaces;
    this.surface.visible = hasFaces;
    this.edges.visible = what.edges || loose;
    this.mesh.visible = what.mesh;
    this.ghost.visible = what.ghost && hasFaces;
    this.ghostEdges.visible = what.ghost;
    // Of a body with faces these are interface nodes apart from them, which have marks of their own.
    this.points.visible = this.body.about.geometry.faces === 0;
    this.interfacePoints.visible = what.interface && this.body.about.interfaceNodes.length > 0;
  }

  // ---- motion

  /** How many modes can move the body at once. */
  get mostModes(): number {
    return this.layers;
  }

  /** Takes the modes that move the body from now on; at most `mostModes` of them. */
  use(active: Active[]) {
    this.active = active.slice(0, this.layers);
    const wanted = new Set(this.active.map((one) => one.mode));
    this.active.forEach((one, i) => {
      let layer = this.modeOfLayer.indexOf(one.mode);
      if (layer < 0) layer = this.load(one, wanted);
      this.usedAt[layer] = ++this.clock;
      this.morph.uLayer.value[i] = layer;
    });
    this.morph.uCount.value = this.active.length;
  }

  private load(one: Active, wanted: Set<number>): number {
    let layer = 0;
    if (this.modeOfLayer.length < this.layers) layer = this.modeOfLayer.length;
    else
      for (let l = 1, best = Infinity; l <= this.layers; ++l) {
        const at = l - 1;
        if (!wanted.has(this.modeOfLayer[at]) && this.usedAt[at] < best) {
          best = this.usedAt[at];
          layer = at;
        }
      }
    const data = this.modes.image.data as unknown as Int16Array;
    const begin = 4 * shaders.TEXTURE_WIDTH * this.rows * layer;
    for (let c = 0; c < 3; ++c) {
      const column = one.field.column[c];
      for (let node = 0; node < this.body.nodeCount; ++node) {
        const step = column < 0 ? 0 : one.field.steps[column + node];
        data[begin + 4 * node + c] = step === NO_NUMBER ? 0 : step;
      }
    }
    this.modeOfLayer[layer] = one.mode;
    this.modes.addLayerUpdate(layer);
    this.modes.needsUpdate = true;
    return layer;
  }

  /** Displaces by each active mode's weight times its factor of this moment. */
  move(factors: number[]) {
    const half = this.body.about.geometry.halfSize;
    this.active.forEach((one, i) => {
      const weight = (one.weight * factors[i] * this.scale * one.field.factor[0]) / half;
      this.morph.uWeight.value[i] = Number.isFinite(weight) ? weight : 0;
    });
  }

  /** Where a node stands now, in half diagonals. */
  placeOf(node: number, target = new THREE.Vector3()): THREE.Vector3 {
    const n = this.body.nodeCount;
    const at = [this.body.places[node], this.body.places[n + node], this.body.places[2 * n + node]];
    this.active.forEach((one, i) => {
      const weight = this.morph.uWeight.value[i];
      for (let c = 0; c < 3; ++c) {
        const column = one.field.column[c];
        const step = column < 0 ? 0 : one.field.steps[column + node];
        if (step !== NO_NUMBER) at[c] += weight * step;
      }
    });
    return target.set(at[0], at[1], at[2]);
  }

  /** Where all nodes stand now, three numbers a node. */
  places(): Float32Array {
    const n = this.body.nodeCount;
    const places = new Float32Array(3 * n);
    for (let c = 0; c < 3; ++c) {
      for (let node = 0; node < n; ++node) places[3 * node + c] = this.body.places[c * n + node];
      this.active.forEach((one, i) => {
        const column = one.field.column[c];
        if (column < 0) return;
        const weight = this.morph.uWeight.value[i];
        for (let node = 0; node < n; ++node) {
          const step = one.field.steps[column + node];
          if (step !== NO_NUMBER) places[3 * node + c] += weight * step;
        }
      });
    }
    return places;
  }

  // ---- color

  color(values: Values | null, map: ColorMap | null, kind: KindName | null) {
    this.coloring.uColored.value = values !== null && map !== null;
    this.showKnown(values ? kind : null);
    if (!values || !map) return;
    (this.colors.image.data as unknown as Uint8Array).set(table(map));
    this.colors.needsUpdate = true;
    const data = this.values.image.data as unknown as Float32Array;
    data.fill(-3e38);
    for (let node = 0; node < values.relative.length; ++node) {
      const value = values.relative[node];
      if (!Number.isNaN(value)) data[node] = value;
    }
    this.values.needsUpdate = true;
    this.coloring.uMagnitude.value = !map.signed;
  }

  /** The range of colors relative to the unit of the values, and what the values are multiplied with now. */
  range(low: number, high: number, factor: number) {
    this.coloring.uLow.value = low;
    this.coloring.uHigh.value = high > low ? high : low + 1;
    this.coloring.uFactor.value = factor;
  }
}
