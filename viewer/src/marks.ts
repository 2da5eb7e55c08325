// Marks above the picture: the picked node, interface nodes, monitor points, center of mass, principal axes.
import * as THREE from 'three';
import type {App} from './app';
import type {Mark} from './stage';
import type {MarkColors} from './theme';

const MOST_LABELS = 400;

export class Marks {
  colors!: MarkColors;
  private fixed: Mark[] = [];
  private moving: {mark: Mark; node: number}[] = [];

  constructor(private readonly app: App) {}

  /** Makes the marks anew; what follows a node is moved by now(). */
  rebuild() {
    this.fixed = [];
    this.moving = [];
    const {show, picked} = this.app.state;
    this.app.bodies.forEach((_, view) => {
      if (show.center) this.addCenter(view);
      if (show.axes) this.addAxes(view);
      if (show.interface) this.addInterface(view);
      if (show.monitor) this.addMonitorPoints(view);
    });
    if (picked) {
      const id = this.app.bodies[picked.view].ids[picked.node];
      this.follow(picked.view, picked.node, {text: `Node ${id}`, color: this.colors.picked, rank: 200, kind: 'ring'});
    }
  }

  private follow(view: number, node: number, mark: Omit<Mark, 'view' | 'place'>) {
    this.moving.push({node, mark: {...mark, view, place: new THREE.Vector3()}});
  }

  private label(text: string): string {
    return this.app.state.show.labels ? text : '';
  }

  /** A place in the units of the body, in half diagonals about the middle of the box. */
  private relative(view: number, at: number[]): THREE.Vector3 {
    const g = this.app.bodies[view].about.geometry;
    return new THREE.Vector3().fromArray(at.map((value, c) => (value - g.center[c]) / g.halfSize));
  }

  private addCenter(view: number) {
    const mass = this.app.bodies[view].about.mass;
    if (!mass) return;
    this.fixed.push({view, place: this.relative(view, mass.center), text: this.label('Center of mass'), color: this.colors.center, rank: 150,
                     kind: 'mass'});
  }

  private addAxes(view: number) {
    const mass = this.app.bodies[view].about.mass;
    if (!mass) return;
    const center = this.relative(view, mass.center);
    mass.axes.forEach((axis, i) => {
      const to = new THREE.Vector3().fromArray(axis).multiplyScalar(0.32).add(center);
      this.fixed.push({view, place: center, to, text: this.label(`I${'\u2081\u2082\u2083'[i]}`), color: this.colors.axes, rank: 140, kind: 'none'});
    });
  }

  private addInterface(view: number) {
    const body = this.app.bodies[view];
    const scene = this.app.stage.views[view];
    const normals = new Map<number, THREE.Vector3>();
    const wanted = new Set(body.about.interfaceNodes.slice(0, MOST_LABELS));
    scene.drawn.vertexNodes.forEach((node, vertex) => {
      if (!wanted.has(node)) return;
      const normal = normals.get(node) ?? new THREE.Vector3();
      normals.set(node, normal.add(new THREE.Vector3().fromArray(scene.drawn.normals, 3 * vertex)));
    });
    for (const node of wanted)
      this.follow(view, node, {text: this.label(String(body.ids[node])), color: this.colors.interface, rank: 10, kind: 'none',
                               normal: normals.get(node)});
  }

  private addMonitorPoints(view: number) {
    const body = this.app.bodies[view];
    for (const point of body.about.monitorPoints) {
      const text = this.label(point.label.trim() || point.name.trim());
      const look = {text, color: this.colors.monitor, rank: 60, kind: 'dot' as const};
      if (point.node !== undefined) this.follow(view, point.node, look);
      else if (point.at.some((value) => value !== 0)) this.fixed.push({...look, view, place: this.relative(view, point.at)});
    }
  }

  now(): Mark[] {
    for (const {mark, node} of this.moving) this.app.stage.views[mark.view].placeOf(node, mark.place);
    return [...this.fixed, ...this.moving.map(({mark}) => mark)];
  }
}
