// The keyboard.
import type {App} from './app';

/** Keys and what they do, as the help shows them. */
export const KEYS: [string, string][] = [
  ['Space', 'play or pause'],
  ['\u2191 \u2193', 'the mode before, the next mode'],
  ['\u2190 \u2192', 'step through the motion'],
  ['+ \u2212', 'larger or smaller motion'],
  ['< >', 'slower or faster'],
  ['X Y Z', 'look along an axis, with Shift from the other side'],
  ['F', 'show all'],
  ['E M G', 'feature edges, mesh lines, undeformed body'],
  ['I C A', 'interface nodes, center of mass, principal axes'],
  ['/', 'search a node'],
  ['Esc', 'let go of the node'],
  ['S R', 'save a picture, record a film'],
  ['L', 'copy a link to this view'],
  ['D', 'dark or light'],
  ['?', 'these keys'],
];

function steps(app: App, key: string, onCanvas: boolean): boolean {
  const {state} = app;
  const turn = Math.PI / 24;
  switch (key) {
    case 'ArrowDown': onCanvas ? app.stage.turn(0, -turn) : void app.selectMode(state.mode + 1); return true;
    case 'ArrowUp': onCanvas ? app.stage.turn(0, turn) : void app.selectMode(state.mode - 1); return true;
    case 'ArrowRight': onCanvas ? app.stage.turn(turn, 0) : app.step(Math.PI / 18); return true;
    case 'ArrowLeft': onCanvas ? app.stage.turn(-turn, 0) : app.step(-Math.PI / 18); return true;
    case 'PageDown': void app.selectMode(state.mode + 1); return true;
    case 'PageUp': void app.selectMode(state.mode - 1); return true;
    case '+': case '=': void app.set({amplitude: Math.min(state.amplitude * 1.25, 5)}); return true;
    case '-': case '\u2212': void app.set({amplitude: state.amplitude / 1.25}); return true;
    case '<': case ',': void app.set({speed: Math.max(state.speed / 1.25, 0.1)}); return true;
    case '>': case '.': void app.set({speed: Math.min(state.speed * 1.25, 5)}); return true;
    case ' ': void app.set({playing: !state.playing}); return true;
    case 'Escape': app.pick(null); app.root.classList.remove('open-left', 'open-right'); return true;
    default: return false;
  }
}

function letters(app: App, event: KeyboardEvent): boolean {
  const {show} = app.state;
  switch (event.key.toLowerCase()) {
    case 'x': app.look(0, event.shiftKey); return true;
    case 'y': app.look(1, !event.shiftKey); return true;
    case 'z': app.look(2, event.shiftKey); return true;
    case 'f': app.stage.home(); return true;
    case 'e': app.show('edges', !show.edges); return true;
    case 'm': app.show('mesh', !show.mesh); return true;
    case 'g': app.show('ghost', !show.ghost); return true;
    case 'i': app.show('interface', !show.interface); return true;
    case 'c': app.show('center', !show.center); return true;
    case 'a': app.show('axes', !show.axes); return true;
    case 's': void app.savePicture(); return true;
    case 'r': app.toggleRecording(); return true;
    case 'l': void app.copyLink(); return true;
    case 'd': app.toggleTheme(); return true;
    case '/': (app.root.querySelector('.node-search input') as HTMLElement | null)?.focus(); return true;
    case '?': app.showHelp(); return true;
    default: return false;
  }
}

/** Does what a key stands for, unless something that takes keys itself has the focus. */
export function keyAction(app: App, event: KeyboardEvent) {
  const target = event.target as HTMLElement;
  if (event.ctrlKey || event.metaKey || event.altKey || document.querySelector('dialog[open]')) return;
  const typing = target.matches('input:not([type=checkbox]):not([type=radio]), select, textarea');
  if (typing && event.key === 'Escape') target.blur();
  if (typing && event.key !== 'Escape') return;
  if (event.key === ' ' && target.matches('button, input, summary')) return;
  if (target.matches('[role=listbox]') && event.key.startsWith('Arrow') && /Up|Down/.test(event.key)) {
    void app.selectMode(app.state.mode + (event.key === 'ArrowDown' ? 1 : -1));
    event.preventDefault();
    return;
  }
  if (steps(app, event.key, target === app.stage.canvas) || letters(app, event)) event.preventDefault();
}
