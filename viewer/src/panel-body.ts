// What the record says of the body as a whole.
import type {App} from './app';
import {h, refill} from './dom';
import {brief, symbol, systemName} from './units';

export class BodyPanel {
  readonly element = h('div', {class: 'bodies'});

  constructor(private readonly app: App) {}

  update() {
    refill(this.element, ...this.app.bodies.map((_, view) => this.card(view)));
  }

  private card(view: number): HTMLElement {
    const {app} = this;
    const about = app.bodies[view].about;
    const units = app.unitsOf(view);
    const g = about.geometry;
    const row = (name: string, ...value: (string | HTMLElement)[]) => [h('dt', {}, name), h('dd', {}, ...value)];
    const rows: HTMLElement[] = [];
    if (about.title.trim()) rows.push(...row('Title', about.title));
    if (about.inputFile.trim()) rows.push(...row('From', `${about.inputFile} ${about.inputType}`));
    if (about.date.trim()) rows.push(...row('Date', about.date));
    for (const comment of about.comments) rows.push(...row('Comment', comment));
    rows.push(...row('Units', systemName(about.units)));
    rows.push(...row('Nodes', g.nodes === g.allNodes ? String(g.nodes) : `${g.nodes} of ${g.allNodes} shown`));
    rows.push(...row('Faces', g.innerFaces > 0 ? `${g.faces}, ${g.innerFaces} inner ones left out` : String(g.faces)));
    const coarse = Math.min(...Object.values(about.kinds).flatMap((kind) => kind.steps));
    if (coarse < 32767) rows.push(...row('Rounding', `rotations, stress and strain to 1/${coarse} of the largest of a mode`));
    const {mass} = about;
    if (mass) {
      const length = app.factor(view, 'length');
      const inertia = app.factor(view, 'inertia');
      rows.push(...row('Mass', `${brief(mass.mass * app.factor(view, 'mass'), 5)} ${symbol(units, 'mass')}`),
                ...row('Center of mass', `${mass.center.map((value) => brief(value * length)).join(', ')} ${symbol(units, 'length')}`),
                ...row('Principal moments', `${mass.moments.map((value) => brief(value * inertia)).join(', ')} ${symbol(units, 'inertia')}`));
    }
    for (const point of about.monitorPoints)
      rows.push(...row('Monitor point', `${point.label.trim() || point.name.trim()}${point.node !== undefined
        ? ` (moves with node ${app.bodies[view].ids[point.node]})` : point.at.every((value) => value === 0) ? ' (a record does not say where it is)' : ''}`));
    return h('details', {class: 'card', open: app.bodies.length === 1 && !this.element.querySelector('details:not([open])')},
             h('summary', {}, h('h2', {}, app.bodies.length > 1 ? about.file : 'Record')), h('dl', {class: 'figures'}, ...rows));
  }
}
