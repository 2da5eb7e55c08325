// The address fragment: camera, mode and what is shown, so that a link shows what its sender saw.

export interface Place {
  position: number[];
  target: number[];
  up: number[];
}

export interface Fragment {
  /** mode number */
  mode?: number;
  phase?: number;
  playing?: boolean;
  amplitude?: number;
  speed?: number;
  field?: string;
  units?: string;
  camera?: Place;
  node?: number;
  theme?: string;
  /** weights of several modes by number */
  mix?: [number, number][];
  /** switched off and on against the defaults, by name */
  show?: Record<string, boolean>;
}

/**
 * The window whose address holds the view: a page that stands in a sheet, without an address of its own, has that of the
 * sheet. None inside of other pages, whose address is not ours to change.
 */
export function addressed(): Window | null {
  if (/^(file|https?):$/.test(location.protocol)) return window;
  try {
    return window.parent.document.documentElement.dataset.madeBy === 'sbr sheet' ? window.parent : null;
  } catch {
    return null;
  }
}

const short = (value: number) => String(Number(value.toPrecision(5)));
const list = (values: number[]) => values.map(short).join(',');

function numbers(text: string | null, count: number): number[] | undefined {
  if (text === null) return undefined;
  const values = text.split(',').map(Number);
  return values.length === count && values.every(Number.isFinite) ? values : undefined;
}

function number(text: string | null): number | undefined {
  return numbers(text, 1)?.[0];
}

export function writeFragment(f: Fragment): string {
  const words = new Map<string, string>();
  if (f.mode !== undefined) words.set('mode', String(f.mode));
  if (f.mix && f.mix.length > 0) words.set('mix', f.mix.map(([mode, weight]) => `${mode}:${short(weight)}`).join(','));
  if (f.field !== undefined) words.set('field', f.field);
  if (f.playing === false && f.phase !== undefined) words.set('phase', short((f.phase * 180) / Math.PI));
  if (f.playing === false) words.set('play', '0');
  if (f.amplitude !== undefined && f.amplitude !== 1) words.set('amplitude', short(f.amplitude));
  if (f.speed !== undefined && f.speed !== 1) words.set('speed', short(f.speed));
  if (f.units !== undefined) words.set('units', f.units);
  if (f.theme !== undefined) words.set('theme', f.theme);
  if (f.node !== undefined) words.set('node', String(f.node));
  const shown = Object.entries(f.show ?? {});
  if (shown.length > 0) words.set('show', shown.map(([name, on]) => (on ? name : `-${name}`)).join(','));
  if (f.camera) words.set('camera', [f.camera.position, f.camera.target, f.camera.up].map(list).join(','));
  return Array.from(words, ([key, value]) => `${key}=${encodeURIComponent(value).replace(/%2C/g, ',').replace(/%3A/g, ':')}`).join('&');
}

/** What cannot be read is left out. */
export function readFragment(text: string): Fragment {
  const words = new URLSearchParams(text.replace(/^#/, ''));
  const f: Fragment = {};
  const mode = number(words.get('mode'));
  if (mode !== undefined && Number.isInteger(mode)) f.mode = mode;
  const degrees = number(words.get('phase'));
  if (degrees !== undefined) f.phase = (degrees * Math.PI) / 180;
  if (words.has('play')) f.playing = words.get('play') !== '0';
  const amplitude = number(words.get('amplitude'));
  if (amplitude !== undefined && amplitude >= 0) f.amplitude = amplitude;
  const speed = number(words.get('speed'));
  if (speed !== undefined && speed > 0) f.speed = speed;
  for (const key of ['field', 'units', 'theme'] as const) {
    const value = words.get(key);
    if (value !== null) f[key] = value;
  }
  const node = number(words.get('node'));
  if (node !== undefined && Number.isInteger(node)) f.node = node;
  const mix = words.get('mix');
  if (mix !== null) {
    const parts = mix.split(',').map((part) => part.split(':').map(Number) as [number, number]);
    if (parts.every((part) => part.length === 2 && part.every(Number.isFinite))) f.mix = parts;
  }
  const show = words.get('show');
  if (show) f.show = Object.fromEntries(show.split(',').map((name) => (name.startsWith('-') ? [name.slice(1), false] : [name, true])));
  const camera = numbers(words.get('camera'), 9);
  if (camera) f.camera = {position: camera.slice(0, 3), target: camera.slice(3, 6), up: camera.slice(6, 9)};
  return f;
}
