// Colors of both themes, for what is drawn on canvases. The rest stands in style.css.
import type {SceneColors} from './scene';
import type {StageColors} from './stage';
import type {State} from './state';

export interface MarkColors {
  picked: string;
  interface: string;
  monitor: string;
  center: string;
  axes: string;
}

const DARK = {
  stage: {backTop: '#2a313c', backBottom: '#11151b', text: '#f1f4f8', halo: '#11151b', line: '#6b7684',
          axes: ['#ff7a6e', '#7ddf82', '#7db4ff']} as StageColors,
  scene: {plain: '#a9b4c2', unknown: '#68717d', edge: '#0a0d11', mesh: '#10141a', ghost: '#b9c6d6', interface: '#ffb454'} as SceneColors,
  marks: {picked: '#ff6ad5', interface: '#ffb454', monitor: '#8fe3ff', center: '#ff7a6e', axes: '#ffd866'} as MarkColors,
};
const LIGHT = {
  stage: {backTop: '#ffffff', backBottom: '#d9e0e8', text: '#15191f', halo: '#ffffff', line: '#8a94a0',
          axes: ['#c4271a', '#1c7c26', '#1a5fc4']} as StageColors,
  scene: {plain: '#b3bdc9', unknown: '#a2abb6', edge: '#1b222b', mesh: '#28303a', ghost: '#5a6778', interface: '#c25e00'} as SceneColors,
  marks: {picked: '#c0128f', interface: '#b35600', monitor: '#006a91', center: '#c4271a', axes: '#8a5a00'} as MarkColors,
};

export function isDark(theme: State['theme']): boolean {
  return theme === 'dark' || (theme === 'auto' && window.matchMedia('(prefers-color-scheme: dark)').matches);
}

export function colorsOf(dark: boolean) {
  return dark ? DARK : LIGHT;
}
