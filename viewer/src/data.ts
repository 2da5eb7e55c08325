// The data of a page: what its description says, and fields that are unpacked when they are asked for.
import {fromBase64, inflate, NO_NUMBER, readFloats, readInts, readShorts} from './codec';

export type KindName = 'shape' | 'stress' | 'strain';

export interface FieldDescription {
  scale: [number | null, number | null];
  kept: [boolean, boolean];
  low: (number | null)[];
  high: (number | null)[];
  largest: number | null;
  largestRotation?: number | null;
  section: string;
}

export interface Figure {
  node: number;
  value: number;
}

export interface ModeDescription {
  number: number;
  eigenvalue: number | null;
  frequency: number | null;
  angular: number | null;
  generalizedMass: number | null;
  generalizedStiffness: number | null;
  shape?: FieldDescription;
  stress?: FieldDescription;
  strain?: FieldDescription;
  statistics: {displacement?: Figure; rotation?: Figure; stress?: Figure; strain?: Figure};
}

export interface UnitDescription {
  /** mass, length, time, force */
  labels: string[];
  /** on SI; null for a label that is not known */
  multipliers: (number | null)[];
}

export interface BodyDescription {
  file: string;
  title: string;
  date: string;
  inputFile: string;
  inputType: string;
  comments: string[];
  version: number;
  units: UnitDescription;
  geometry: {
    nodes: number;
    allNodes: number;
    faces: number;
    innerFaces: number;
    coarsened: boolean;
    surfaceNodes: number;
    center: number[];
    halfSize: number;
    hasExtent: boolean;
    ids: string;
    places: string;
    faceWords: number;
    faceList: string;
    masses?: string;
    heaviest?: number;
  };
  mass: {mass: number; center: number[]; moments: number[]; axes: number[][]; source: string} | null;
  interfaceNodes: number[];
  monitorPoints: {name: string; label: string; resultType: number; component: number; at: number[]; node?: number}[];
  /** how many of the first modes are motions of the rigid body */
  rigidModes: number;
  modes: ModeDescription[];
  /** `steps` on either side of zero, for the first and the second part */
  kinds: Partial<Record<KindName, {nodes: number; steps: [number, number]; places?: string}>>;
  notes: string[];
}

export interface Match {
  second: number;
  parts: [number, number][];
  mac: number | null;
}

export interface Description {
  format: number;
  maker: string;
  bodies: BodyDescription[];
  match: Match[];
  unitSystems: (UnitDescription & {name: string})[];
}

/** Gives the base64 text of a section. */
export type SectionSource = (name: string) => string;

/** One kind of data of one mode at the nodes of its kind. */
export class Field {
  /** value = step x factor[component] */
  readonly factor: number[];
  /** where the column of a component begins; -1 for a component of zeros */
  readonly column: number[];

  constructor(readonly steps: Int16Array, readonly rows: number, about: FieldDescription, mostSteps: [number, number]) {
    this.factor = [];
    this.column = [];
    let at = 0;
    for (let c = 0; c < 6; ++c) {
      const part = c < 3 ? 0 : 1;
      this.factor.push((about.scale[part] ?? 0) / mostSteps[part]);
      this.column.push(about.kept[part] ? at : -1);
      if (about.kept[part]) at += rows;
    }
  }

  /** NaN for a value that is no number. */
  value(row: number, component: number): number {
    if (this.column[component] < 0) return 0;
    const step = this.steps[this.column[component] + row];
    return step === NO_NUMBER ? NaN : step * this.factor[component];
  }
}

const MOST_BYTES_OF_FIELDS = 400e6;

export class Body {
  ids: Int32Array = new Int32Array();
  /** x of all nodes, then y, then z; about the center of the box, in half diagonals */
  places: Float32Array = new Float32Array();
  masses: Float32Array | null = null;
  faces: Int32Array = new Int32Array();
  /** the row of each node in the fields of a kind, -1 where the kind does not know it; null when row and node are one */
  readonly rows: Record<KindName, Int32Array | null> = {shape: null, stress: null, strain: null};
  private readonly fields = new Map<string, Promise<Field>>();
  private bytes = 0;
  private byId: Map<number, number> | null = null;

  private constructor(readonly about: BodyDescription, private readonly source: SectionSource) {}

  static async open(about: BodyDescription, source: SectionSource): Promise<Body> {
    const body = new Body(about, source);
    const g = about.geometry;
    body.ids = readInts(await body.section(g.ids));
    body.places = readFloats(await body.section(g.places));
    body.faces = readInts(await body.section(g.faceList));
    if (g.masses) {
      body.masses = readFloats(await body.section(g.masses));
    }
    for (const kind of ['stress', 'strain'] as const) {
      const places = about.kinds[kind]?.places;
      if (!places) continue;
      const rows = new Int32Array(g.nodes).fill(-1);
      readInts(await body.section(places)).forEach((node, row) => (rows[node] = row));
      body.rows[kind] = rows;
    }
    return body;
  }

  private async section(name: string): Promise<Uint8Array> {
    return inflate(fromBase64(this.source(name)));
  }

  get nodeCount(): number {
    return this.about.geometry.nodes;
  }

  /** The place of a node with an ID in the lists; -1 when it is not shown. */
  nodeOf(id: number): number {
    if (!this.byId) this.byId = new Map(Array.from(this.ids, (one, node): [number, number] => [one, node]));
    return this.byId.get(id) ?? -1;
  }

  coordinates(node: number): number[] {
    const g = this.about.geometry;
    return [0, 1, 2].map((c) => g.center[c] + g.halfSize * this.places[c * g.nodes + node]);
  }

  mass(node: number): number | null {
    return this.masses ? this.masses[node] * (this.about.geometry.heaviest || 1) : null;
  }

  rowOf(kind: KindName, node: number): number {
    const rows = this.rows[kind];
    return rows ? rows[node] : node;
  }

  /** Null when the mode has no data of the kind. The fields used last are kept. */
  field(mode: number, kind: KindName): Promise<Field> | null {
    const about = this.about.modes[mode]?.[kind];
    const aboutKind = this.about.kinds[kind];
    if (!about || !aboutKind) return null;
    const found = this.fields.get(about.section);
    if (found) {
      this.fields.delete(about.section);
      this.fields.set(about.section, found);
      return found;
    }
    const made = this.section(about.section).then((planes) => {
      const field = new Field(readShorts(planes, aboutKind.nodes), aboutKind.nodes, about, aboutKind.steps);
      this.bytes += field.steps.byteLength;
      this.forget();
      return field;
    });
    this.fields.set(about.section, made);
    return made;
  }

  private forget() {
    for (const [name, field] of this.fields) {
      if (this.bytes <= MOST_BYTES_OF_FIELDS || this.fields.size < 2) return;
      this.fields.delete(name);
      void field.then((gone) => (this.bytes -= gone.steps.byteLength));
      this.bytes = Math.max(this.bytes, 0);
      return;
    }
  }
}
