// A time history of modal coordinates from a table of comma-separated values.

export interface History {
  times: Float64Array;
  /** for each column the index of its mode */
  modes: number[];
  /** values[column][row] */
  values: Float64Array[];
}

function separatorOf(line: string): string {
  for (const separator of [';', '\t', ',']) if (line.includes(separator)) return separator;
  return ' ';
}

function cellsOf(line: string, separator: string): string[] {
  const cells = separator === ' ' ? line.trim().split(/\s+/) : line.split(separator);
  return cells.map((cell) => cell.trim().replace(/^"(.*)"$/, '$1').trim());
}

function numberOf(cell: string, separator: string): number {
  const text = separator === ';' ? cell.replace(',', '.') : cell;
  return text === '' ? NaN : Number(text);
}

/** Which modes the columns behind the time are: by the number in their heads, else one after the other. */
function modesOf(heads: string[] | null, columns: number, numbers: number[]): number[] {
  if (heads) {
    return heads.map((head) => {
      const found = head.match(/^[a-z_\s[(]*(-?\d+)[\s\])]*$/i);
      const index = found ? numbers.indexOf(Number(found[1])) : -1;
      if (index < 0) throw new Error(`line 1: the column "${head}" names no mode of this body, such as "${numbers[0] ?? 7}"`);
      return index;
    });
  }
  if (columns !== numbers.length)
    throw new Error(`line 1: ${columns} columns behind the time, and the body has ${numbers.length} modes; ` +
                    'a head line such as "time,7,8" says which modes they are');
  return numbers.map((_, index) => index);
}

/** `numbers` are the mode numbers of the body. Throws an Error that names the line of what cannot be read. */
export function readHistory(text: string, numbers: number[]): History {
  const lines = text.replace(/^\ufeff/, '').split(/\r\n|\n|\r/);
  const filled = lines.map((line, i) => ({line, number: i + 1})).filter(({line}) => line.trim() !== '' && !line.trim().startsWith('#'));
  if (filled.length === 0) throw new Error('the table is empty');
  const separator = separatorOf(filled[0].line);
  const first = cellsOf(filled[0].line, separator);
  const headed = first.some((cell) => Number.isNaN(numberOf(cell, separator)));
  if (first.length < 2) throw new Error(`line ${filled[0].number}: a time and at least one modal coordinate are needed`);
  const modes = modesOf(headed ? first.slice(1) : null, first.length - 1, numbers);
  if (new Set(modes).size !== modes.length) throw new Error('line 1: a mode has two columns');
  const rows = headed ? filled.slice(1) : filled;
  if (rows.length < 2) throw new Error('a history needs two times at least');
  const times = new Float64Array(rows.length);
  const values = modes.map(() => new Float64Array(rows.length));
  rows.forEach(({line, number}, row) => {
    const cells = cellsOf(line, separator).map((cell) => numberOf(cell, separator));
    if (cells.length !== first.length) throw new Error(`line ${number}: ${cells.length} values instead of ${first.length}`);
    const bad = cells.findIndex((value) => !Number.isFinite(value));
    if (bad >= 0) throw new Error(`line ${number}: value ${bad + 1} is not a number`);
    if (row > 0 && cells[0] <= times[row - 1]) throw new Error(`line ${number}: the time does not grow`);
    times[row] = cells[0];
    modes.forEach((_, column) => (values[column][row] = cells[column + 1]));
  });
  return {times, modes, values};
}

/** The coordinates at a time, between two rows along a straight line. */
export function coordinatesAt(history: History, time: number): number[] {
  const {times} = history;
  let low = 0;
  let high = times.length - 1;
  while (high - low > 1) {
    const middle = (low + high) >> 1;
    if (times[middle] <= time) low = middle;
    else high = middle;
  }
  const part = Math.min(Math.max((time - times[low]) / (times[high] - times[low]), 0), 1);
  return history.values.map((column) => column[low] + part * (column[high] - column[low]));
}
