// The stage: one camera over one or two bodies, the canvas, and the marks that are drawn above it.
import * as THREE from 'three';
import {OrbitControls} from 'three/examples/jsm/controls/OrbitControls.js';
import type {Place} from './fragment';
import {firstHit} from './geometry';
import type {BodyScene} from './scene';

export interface Mark {
  /** which body */
  view: number;
  place: THREE.Vector3;
  text: string;
  color: string;
  /** higher ones get their labels first */
  rank: number;
  kind: 'dot' | 'ring' | 'mass' | 'none';
  /** the other end of a line */
  to?: THREE.Vector3;
  /** hidden when its surface looks away */
  normal?: THREE.Vector3;
}

export interface StageColors {
  backTop: string;
  backBottom: string;
  text: string;
  halo: string;
  line: string;
  axes: string[];
}

const FIELD_OF_VIEW = 26;
/** in pixels */
const LEGEND_WIDTH = 100;

export class Stage {
  readonly canvas: HTMLCanvasElement;
  readonly overlay: HTMLCanvasElement;
  readonly camera = new THREE.PerspectiveCamera(FIELD_OF_VIEW, 1, 0.01, 200);
  controls: OrbitControls;
  private readonly renderer: THREE.WebGLRenderer;
  private readonly scenes: THREE.Scene[] = [];
  private readonly backdrop = new THREE.Scene();
  private readonly backdropMaterial: THREE.ShaderMaterial;
  private readonly backdropCamera = new THREE.OrthographicCamera(-1, 1, 1, -1, 0, 1);
  private width = 1;
  private height = 1;
  colors: StageColors = {backTop: '#fff', backBottom: '#ccc', text: '#000', halo: '#fff', line: '#888', axes: ['#f00', '#0f0', '#00f']};
  marks: Mark[] = [];
  onCamera: () => void = () => undefined;
  onCameraEnd: () => void = () => undefined;

  constructor(readonly holder: HTMLElement, readonly views: BodyScene[]) {
    this.renderer = new THREE.WebGLRenderer({antialias: true, preserveDrawingBuffer: false, powerPreference: 'high-performance'});
    this.renderer.outputColorSpace = THREE.LinearSRGBColorSpace;
    this.renderer.autoClear = false;
    this.canvas = this.renderer.domElement;
    this.canvas.tabIndex = 0;
    this.canvas.className = 'stage-canvas';
    this.overlay = document.createElement('canvas');
    this.overlay.className = 'stage-overlay';
    this.overlay.setAttribute('aria-hidden', 'true');
    holder.append(this.canvas, this.overlay);
    // Both bodies are shown to one scale, each about its own middle.
    const sizes = views.map((view) => view.body.about.geometry.halfSize * (view.body.about.units.multipliers[1] ?? 1));
    views.forEach((view, i) => {
      const scene = new THREE.Scene();
      const relative = sizes[i] / Math.max(...sizes);
      if (relative > 0.02) view.group.scale.setScalar(relative);
      scene.add(view.group);
      view.group.updateMatrixWorld(true);
      this.scenes.push(scene);
    });
    this.backdropMaterial = new THREE.ShaderMaterial({
      uniforms: {top: {value: new THREE.Vector3()}, bottom: {value: new THREE.Vector3()}}, depthTest: false, depthWrite: false,
      vertexShader: 'varying vec2 at; void main() { at = position.xy; gl_Position = vec4(position.xy, 0.0, 1.0); }',
      fragmentShader: `uniform vec3 top; uniform vec3 bottom; varying vec2 at;
        void main() { gl_FragColor = vec4(mix(bottom, top, smoothstep(-1.1, 1.0, at.y)), 1.0); }`,
    });
    const quad = new THREE.Mesh(new THREE.PlaneGeometry(2, 2), this.backdropMaterial);
    quad.frustumCulled = false;
    this.backdrop.add(quad);
    this.camera.up.copy(this.upright());
    this.controls = this.makeControls();
    new ResizeObserver(() => this.resize()).observe(holder);
  }

  private makeControls(): OrbitControls {
    const controls = new OrbitControls(this.camera, this.canvas);
    controls.enableDamping = false;
    controls.zoomToCursor = this.views.length === 1;
    controls.minDistance = 0.01;
    controls.maxDistance = 100;
    controls.addEventListener('change', () => this.onCamera());
    controls.addEventListener('end', () => this.onCameraEnd());
    return controls;
  }

  // ---- camera

  private extents(): THREE.Vector3 {
    const box = new THREE.Box3();
    for (const view of this.views) {
      const n = view.body.nodeCount;
      const p = view.body.places;
      for (let i = 0; i < n; ++i) box.expandByPoint(new THREE.Vector3(p[i], p[n + i], p[2 * n + i]));
    }
    return box.isEmpty() ? new THREE.Vector3(1, 1, 1) : box.getSize(new THREE.Vector3());
  }

  /** z, unless the body lies flat in the plane of x and y: then y. */
  private upright(): THREE.Vector3 {
    const size = this.extents();
    return size.z < 0.34 * Math.min(size.x, size.y) || (size.z < 0.34 * size.x && size.z <= size.y) ? new THREE.Vector3(0, 1, 0)
                                                                                                   : new THREE.Vector3(0, 0, 1);
  }

  /** From the side where most is to be seen. */
  private firstDirection(): THREE.Vector3 {
    const size = this.extents();
    const order = [0, 1, 2].sort((a, b) => size.getComponent(a) - size.getComponent(b));
    const direction = new THREE.Vector3();
    direction.setComponent(order[0], 1.0);
    direction.setComponent(order[1], 0.62);
    direction.setComponent(order[2], 0.45);
    // The near side is that of -y where z is up, and the camera stands above.
    if (this.camera.up.z > 0.5) direction.set(direction.x, -Math.abs(direction.y), Math.max(Math.abs(direction.z), 0.4));
    return direction.normalize();
  }

  home() {
    this.lookFrom(this.firstDirection(), this.upright());
  }

  lookFrom(direction: THREE.Vector3, up: THREE.Vector3) {
    this.camera.up.copy(up);
    // The controls take the upright direction when they are made.
    this.controls.dispose();
    this.controls = this.makeControls();
    this.controls.target.set(0, 0, 0);
    this.camera.position.copy(direction);
    this.camera.lookAt(0, 0, 0);
    this.fit();
  }

  /** Moves along the line of sight, and sideways, until everything fills the view. */
  fit() {
    this.camera.updateMatrixWorld(true);
    const direction = new THREE.Vector3().subVectors(this.camera.position, this.controls.target).normalize();
    const right = new THREE.Vector3().setFromMatrixColumn(this.camera.matrixWorld, 0);
    const up = new THREE.Vector3().setFromMatrixColumn(this.camera.matrixWorld, 1);
    const aspect = this.width / this.views.length / this.height;
    const tangent = Math.tan((FIELD_OF_VIEW * Math.PI) / 360);
    const legend = Math.min(LEGEND_WIDTH / (this.width / this.views.length), 0.35);
    const tangentY = tangent * 0.84;
    const tangentX = tangent * aspect * 0.92 * (1 - legend);
    const low = [Infinity, Infinity];
    const high = [-Infinity, -Infinity];
    const points: number[][] = [];
    const at = new THREE.Vector3();
    for (const view of this.views) {
      const n = view.body.nodeCount;
      const step = Math.max(1, Math.floor(n / 20000));
      for (let i = 0; i < n; i += step) {
        const p = view.body.places;
        at.set(p[i], p[n + i], p[2 * n + i]).multiply(view.group.scale);
        const point = [at.dot(right), at.dot(up), at.dot(direction)];
        points.push(point);
        for (let c = 0; c < 2; ++c) {
          low[c] = Math.min(low[c], point[c]);
          high[c] = Math.max(high[c], point[c]);
        }
      }
    }
    const middle = points.length > 0 ? [(low[0] + high[0]) / 2, (low[1] + high[1]) / 2] : [0, 0];
    let distance = 0.2;
    for (const [x, y, z] of points) {
      distance = Math.max(distance, Math.abs(x - middle[0]) / tangentX + z, Math.abs(y - middle[1]) / tangentY + z);
    }
    const size = points.length > 1 && (high[0] > low[0] || high[1] > low[1]);
    if (!size) distance = 5;
    // The middle of what the legend leaves.
    const aside = middle[0] + distance * tangent * aspect * legend;
    this.controls.target.copy(right.multiplyScalar(aside).add(up.multiplyScalar(middle[1])));
    this.camera.position.copy(this.controls.target).addScaledVector(direction, distance);
    this.controls.update();
    this.onCamera();
    this.onCameraEnd();
  }

  get place(): Place {
    return {position: this.camera.position.toArray(), target: this.controls.target.toArray(), up: this.camera.up.toArray()};
  }

  set place(place: Place) {
    const up = new THREE.Vector3().fromArray(place.up);
    if (up.lengthSq() === 0 || up.distanceTo(this.camera.up) > 1e-9) {
      this.camera.up.copy(up.lengthSq() > 0 ? up.normalize() : new THREE.Vector3(0, 0, 1));
      this.controls.dispose();
      this.controls = this.makeControls();
    }
    this.controls.target.fromArray(place.target);
    this.camera.position.fromArray(place.position);
    this.controls.update();
    this.onCamera();
  }

  turn(right: number, up: number) {
    const offset = new THREE.Vector3().subVectors(this.camera.position, this.controls.target);
    const toUpright = new THREE.Quaternion().setFromUnitVectors(this.camera.up, new THREE.Vector3(0, 1, 0));
    const ball = new THREE.Spherical().setFromVector3(offset.applyQuaternion(toUpright));
    ball.theta += right;
    ball.phi = Math.min(Math.max(ball.phi + up, 0.01), Math.PI - 0.01);
    this.camera.position.copy(this.controls.target).add(offset.setFromSpherical(ball).applyQuaternion(toUpright.invert()));
    this.controls.update();
    this.onCameraEnd();
  }

  zoom(factor: number) {
    const offset = new THREE.Vector3().subVectors(this.camera.position, this.controls.target);
    this.camera.position.copy(this.controls.target).addScaledVector(offset, factor);
    this.controls.update();
    this.onCameraEnd();
  }

  // ---- drawing

  get pixelRatio(): number {
    return Math.min(window.devicePixelRatio || 1, 2);
  }

  resize() {
    const box = this.holder.getBoundingClientRect();
    this.width = Math.max(Math.floor(box.width), 1);
    this.height = Math.max(Math.floor(box.height), 1);
    this.renderer.setPixelRatio(this.pixelRatio);
    this.renderer.setSize(this.width, this.height, false);
    this.overlay.width = this.width * this.pixelRatio;
    this.overlay.height = this.height * this.pixelRatio;
    this.camera.aspect = this.width / this.views.length / this.height;
    this.camera.updateProjectionMatrix();
    this.onCamera();
  }

  render() {
    const distance = this.camera.position.distanceTo(this.controls.target);
    const away = this.camera.position.length();
    this.camera.near = Math.max(away - 2.5, distance * 0.01, 0.002);
    this.camera.far = away + 2.5;
    this.camera.updateProjectionMatrix();
    const color = (text: string) => {
      const c = new THREE.Color().setStyle(text, THREE.LinearSRGBColorSpace);
      return new THREE.Vector3(c.r, c.g, c.b);
    };
    this.backdropMaterial.uniforms.top.value = color(this.colors.backTop);
    this.backdropMaterial.uniforms.bottom.value = color(this.colors.backBottom);
    this.renderer.setScissorTest(false);
    this.renderer.setViewport(0, 0, this.width, this.height);
    this.renderer.clear();
    this.renderer.render(this.backdrop, this.backdropCamera);
    this.renderer.setScissorTest(true);
    this.scenes.forEach((scene, i) => {
      const [left, width] = this.span(i);
      this.renderer.setViewport(left, 0, width, this.height);
      this.renderer.setScissor(left, 0, width, this.height);
      this.renderer.render(scene, this.camera);
    });
    this.drawOverlay();
  }

  private span(view: number): [number, number] {
    const width = this.width / this.views.length;
    return [view * width, width];
  }

  /** Where a place of a body stands on the canvas; z grows away from the eye. */
  private project(view: number, place: THREE.Vector3): {x: number; y: number; z: number} {
    const at = place.clone().applyMatrix4(this.views[view].group.matrixWorld).project(this.camera);
    const [left, width] = this.span(view);
    return {x: left + ((at.x + 1) / 2) * width, y: ((1 - at.y) / 2) * this.height, z: at.z};
  }

  private drawOverlay() {
    const context = this.overlay.getContext('2d');
    if (!context) return;
    context.setTransform(this.pixelRatio, 0, 0, this.pixelRatio, 0, 0);
    context.clearRect(0, 0, this.width, this.height);
    context.font = '600 11.5px Inter, system-ui, "Segoe UI", Roboto, "Helvetica Neue", sans-serif';
    context.lineJoin = 'round';
    if (this.views.length > 1) {
      context.fillStyle = this.colors.line;
      context.globalAlpha = 0.5;
      context.fillRect(this.width / 2 - 0.5, 0, 1, this.height);
      context.globalAlpha = 1;
    }
    const taken: number[][] = [];
    for (const mark of [...this.marks].sort((a, b) => b.rank - a.rank)) this.drawMark(context, mark, taken);
    this.drawAxes(context);
  }

  private drawMark(context: CanvasRenderingContext2D, mark: Mark, taken: number[][]) {
    if (mark.normal) {
      const at = mark.place.clone().applyMatrix4(this.views[mark.view].group.matrixWorld);
      if (mark.normal.dot(at.sub(this.camera.position)) > 0) return;
    }
    const {x, y, z} = this.project(mark.view, mark.place);
    const [left, width] = this.span(mark.view);
    if (!(z < 1) || x < left || x > left + width || y < 0 || y > this.height) return;
    context.strokeStyle = mark.color;
    context.fillStyle = mark.color;
    let [labelX, labelY] = [x + 9, y - 8];
    if (mark.to) {
      const end = this.project(mark.view, mark.to);
      context.lineWidth = 2;
      context.beginPath();
      context.moveTo(x, y);
      context.lineTo(end.x, end.y);
      context.stroke();
      labelX = end.x + 5;
      labelY = end.y - 4;
    }
    if (mark.kind === 'dot' || mark.kind === 'ring') {
      context.beginPath();
      context.arc(x, y, mark.kind === 'dot' ? 4 : 6.5, 0, 2 * Math.PI);
      if (mark.kind === 'dot') context.fill();
      context.lineWidth = mark.kind === 'dot' ? 1.5 : 2.5;
      if (mark.kind === 'dot') context.strokeStyle = this.colors.halo;
      context.stroke();
    }
    if (mark.kind === 'mass') this.drawMassCenter(context, x, y, mark.color);
    if (mark.text) this.drawLabel(context, mark, labelX, labelY, taken);
  }

  /** The sign of a center of mass: a disc in quarters. */
  private drawMassCenter(context: CanvasRenderingContext2D, x: number, y: number, color: string) {
    const r = 8;
    context.fillStyle = this.colors.halo;
    context.beginPath();
    context.arc(x, y, r, 0, 2 * Math.PI);
    context.fill();
    context.fillStyle = color;
    for (const begin of [0, Math.PI]) {
      context.beginPath();
      context.moveTo(x, y);
      context.arc(x, y, r, begin, begin + Math.PI / 2);
      context.fill();
    }
    context.strokeStyle = color;
    context.lineWidth = 1.5;
    context.beginPath();
    context.arc(x, y, r, 0, 2 * Math.PI);
    context.stroke();
  }

  private drawLabel(context: CanvasRenderingContext2D, mark: Mark, x: number, y: number, taken: number[][]) {
    const width = context.measureText(mark.text).width;
    const box = [x - 2, y - 12, x + width + 2, y + 4];
    const crossed = taken.some((one) => box[0] < one[2] && one[0] < box[2] && box[1] < one[3] && one[1] < box[3]);
    if (crossed && mark.rank < 100) return;
    taken.push(box);
    context.lineWidth = 3.5;
    context.strokeStyle = this.colors.halo;
    context.strokeText(mark.text, x, y);
    context.fillStyle = this.colors.text;
    context.fillText(mark.text, x, y);
  }

  /** The directions of the axes, in the lower left corner. */
  private drawAxes(context: CanvasRenderingContext2D) {
    const [cx, cy, size] = [52, this.height - 52, 28];
    const inverse = this.camera.quaternion.clone().invert();
    const axes = [0, 1, 2].map((c) => {
      const v = new THREE.Vector3().setComponent(c, 1).applyQuaternion(inverse);
      return {c, v};
    });
    axes.sort((a, b) => a.v.z - b.v.z);
    for (const {c, v} of axes) {
      const x = cx + size * v.x;
      const y = cy - size * v.y;
      context.globalAlpha = v.z < -0.2 ? 0.55 : 1;
      context.strokeStyle = this.colors.axes[c];
      context.lineWidth = 2.5;
      context.lineCap = 'round';
      context.beginPath();
      context.moveTo(cx, cy);
      context.lineTo(x, y);
      context.stroke();
      context.fillStyle = this.colors.axes[c];
      const out = 9;
      const length = Math.hypot(x - cx, y - cy) || 1;
      context.textAlign = 'center';
      context.textBaseline = 'middle';
      context.fillText('xyz'[c], x + ((x - cx) / length) * out, y + ((y - cy) / length) * out);
    }
    context.globalAlpha = 1;
    context.textAlign = 'start';
    context.textBaseline = 'alphabetic';
  }

  // ---- picking

  /** The node under a point of the canvas; null when there is none. */
  pick(x: number, y: number): {view: number; node: number} | null {
    const view = Math.min(Math.floor(x / (this.width / this.views.length)), this.views.length - 1);
    const scene = this.views[view];
    const places = scene.places();
    const [left, width] = this.span(view);
    const pointer = new THREE.Vector2(((x - left) / width) * 2 - 1, 1 - (y / this.height) * 2);
    const caster = new THREE.Raycaster();
    this.camera.updateMatrixWorld(true);
    caster.setFromCamera(pointer, this.camera);
    const ray = caster.ray.clone().applyMatrix4(scene.group.matrixWorld.clone().invert());
    const hit = firstHit(ray.origin.toArray(), ray.direction.toArray(), scene.drawn.triangles, scene.drawn.vertexNodes, places);
    const candidates = hit ? hit.nodes : Array.from({length: scene.body.nodeCount}, (_, node) => node);
    let best = -1;
    let nearest = hit ? Infinity : 14;
    const at = new THREE.Vector3();
    for (const node of candidates) {
      const on = this.project(view, at.fromArray(places, 3 * node));
      const distance = Math.hypot(on.x - x, on.y - y);
      if (distance < nearest && on.z < 1) {
        nearest = distance;
        best = node;
      }
    }
    return best < 0 ? null : {view, node: best};
  }

  /** Where a node stands on the canvas. */
  locate(view: number, node: number): {x: number; y: number} {
    this.camera.updateMatrixWorld(true);
    const {x, y} = this.project(view, this.views[view].placeOf(node));
    return {x, y};
  }
}
