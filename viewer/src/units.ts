// Units: symbols of labels, and the factors from a body's units to those that are shown.
import type {UnitDescription} from './data';

const SYMBOLS: Record<string, string> = {
  MEGAGRAM: 't', KILOGRAM: 'kg', GRAM: 'g', MILLIGRAM: 'mg', MICROGRAM: '\u00b5g', NANOGRAM: 'ng', USTON: 'ton (US)',
  KPOUND_MASS: 'klbm', POUND_MASS: 'lbm', OUNCE_MASS: 'ozm', SLUG: 'slug', SLINCH: 'slinch',
  KILOMETER: 'km', METER: 'm', CENTIMETER: 'cm', MILLIMETER: 'mm', MICROMETER: '\u00b5m', NANOMETER: 'nm',
  ANGSTROM: '\u00c5', MILE: 'mi', YARD: 'yd', FOOT: 'ft', INCH: 'in', MIL: 'mil', MICROINCH: '\u00b5in',
  SECOND: 's', MILLISECOND: 'ms', MICROSECOND: '\u00b5s', NANOSECOND: 'ns', DAY: 'd', HOUR: 'h', MINUTE: 'min',
  KNEWTON: 'kN', NEWTON: 'N', MILLINEWTON: 'mN', DYNE: 'dyn', MICRONEWTON: '\u00b5N', NANONEWTON: 'nN',
  KPOUND_FORCE: 'klbf', POUND_FORCE: 'lbf', KILOGRAM_FORCE: 'kgf', OUNCE_FORCE: 'ozf',
};
const DEFAULTS = ['KILOGRAM', 'METER', 'SECOND', 'NEWTON'];

export type Dimension = 'mass' | 'length' | 'time' | 'force' | 'stress' | 'inertia' | 'angle' | 'none';

function label(units: UnitDescription, i: number): string {
  return units.labels[i] || DEFAULTS[i];
}

export function symbol(units: UnitDescription, dimension: Dimension): string {
  const of = (i: number) => SYMBOLS[label(units, i).toUpperCase()] ?? label(units, i);
  switch (dimension) {
    case 'mass': return of(0);
    case 'length': return of(1);
    case 'time': return of(2);
    case 'force': return of(3);
    case 'stress': return `${of(3)}/${of(1)}\u00b2`;
    case 'inertia': return `${of(0)} ${of(1)}\u00b2`;
    case 'angle': return 'rad';
    case 'none': return '';
  }
}

/** What a value in one system is multiplied with to stand in another; null when a label of either is unknown. */
export function factor(from: UnitDescription, to: UnitDescription, dimension: Dimension): number | null {
  if (dimension === 'angle' || dimension === 'none') return 1;
  const ratio = (i: number) => {
    const a = from.multipliers[i];
    const b = to.multipliers[i];
    return a === null || b === null ? NaN : a / b;
  };
  const value = {
    mass: () => ratio(0),
    length: () => ratio(1),
    time: () => ratio(2),
    force: () => ratio(3),
    stress: () => ratio(3) / ratio(1) ** 2,
    inertia: () => ratio(0) * ratio(1) ** 2,
  }[dimension]();
  return Number.isFinite(value) ? value : null;
}

/** Whether all four labels are known, so that values can be brought to other units. */
export function known(units: UnitDescription): boolean {
  return units.multipliers.every((m) => m !== null);
}

/** A name such as "mm, t, s, N". */
export function systemName(units: UnitDescription): string {
  return [symbol(units, 'length'), symbol(units, 'mass'), symbol(units, 'time'), symbol(units, 'force')].join(', ');
}

/** A frequency per time unit of the body in hertz; null when the time unit is not known. */
export function hertz(units: UnitDescription, perTime: number | null): number | null {
  const time = units.multipliers[2];
  return perTime === null || time === null ? null : perTime / time;
}

/** A number for people: `digits` significant ones, powers of ten where they are shorter. */
export function brief(value: number | null | undefined, digits = 4): string {
  if (value === null || value === undefined || Number.isNaN(value)) return '\u2013';
  if (!Number.isFinite(value)) return value > 0 ? '\u221e' : '\u2212\u221e';
  if (value === 0) return '0';
  const size = Math.abs(value);
  const wide = size >= 1e6 || size < 1e-3;
  const text = wide ? value.toExponential(digits - 1) : value.toPrecision(digits);
  const plain = wide ? powerOfTen(text) : text.includes('e') ? String(Number(text)) : text.includes('.') ? text.replace(/\.?0+$/, '') : text;
  return plain.replace(/^-/, '\u2212');
}

const RAISED: Record<string, string> = {
  '-': '\u207b', '0': '\u2070', '1': '\u00b9', '2': '\u00b2', '3': '\u00b3', '4': '\u2074', '5': '\u2075',
  '6': '\u2076', '7': '\u2077', '8': '\u2078', '9': '\u2079',
};

function powerOfTen(text: string): string {
  const [mantissa, power] = text.split('e');
  const short = mantissa.includes('.') ? mantissa.replace(/\.?0+$/, '') : mantissa;
  return `${short}\u00b710${Array.from(power.replace('+', ''), (c) => RAISED[c]).join('')}`;
}
