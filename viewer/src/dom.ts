// Elements in few words. Texts go in as text: nothing of a record is ever read as HTML.

type Child = Node | string | null | undefined | false;
type Properties = Record<string, unknown>;

export function h<K extends keyof HTMLElementTagNameMap>(tag: K, properties: Properties = {}, ...children: Child[]): HTMLElementTagNameMap[K] {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (value === null || value === undefined || value === false) continue;
    if (name.startsWith('on')) element.addEventListener(name.slice(2), value as EventListener);
    else if (name === 'class') element.className = String(value);
    else element.setAttribute(name, value === true ? '' : String(value));
  }
  put(element, ...children);
  return element;
}

export function put(element: Element, ...children: Child[]) {
  for (const child of children) if (child !== null && child !== undefined && child !== false) element.append(child);
}

export function refill(element: Element, ...children: Child[]) {
  element.replaceChildren();
  put(element, ...children);
}

const PATHS: Record<string, string> = {
  play: 'M7 4.5v15l12.5-7.5z',
  pause: 'M6.5 4.5h4v15h-4zM13.5 4.5h4v15h-4z',
  camera: 'M4 7.5h3.5l1.5-2.5h6l1.5 2.5H20a1 1 0 0 1 1 1V18a1 1 0 0 1-1 1H4a1 1 0 0 1-1-1V8.5a1 1 0 0 1 1-1zM12 16.5a3.5 3.5 0 1 0 0-7 3.5 3.5 0 0 0 0 7z',
  record: 'M12 12m-6 0a6 6 0 1 0 12 0a6 6 0 1 0-12 0z',
  link: 'M10 14a4 4 0 0 0 5.7 0l3-3a4 4 0 0 0-5.7-5.7l-1.2 1.2M14 10a4 4 0 0 0-5.7 0l-3 3a4 4 0 0 0 5.7 5.7l1.2-1.2',
  theme: 'M12 4a8 8 0 1 0 0 16a8 8 0 0 0 0-16zM12 5.7v12.6a6.3 6.3 0 0 1 0-12.6z',
  help: 'M9 9.3a3 3 0 1 1 4.4 2.6c-.9.5-1.4 1-1.4 2.1M12 17.2v.1',
  fit: 'M4 9V4h5M20 9V4h-5M4 15v5h5M20 15v5h-5',
  panel: 'M4 5h16M4 12h16M4 19h16',
  sliders: 'M4 7h9M17 7h3M4 17h3M11 17h9M15 4.5v5M9 14.5v5',
  close: 'M6 6l12 12M18 6L6 18',
  search: 'M10.5 17a6.5 6.5 0 1 0 0-13 6.5 6.5 0 0 0 0 13zM15.5 15.5L20 20',
};

export function icon(name: string): SVGSVGElement {
  const svg = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  svg.setAttribute('viewBox', '0 0 24 24');
  svg.setAttribute('aria-hidden', 'true');
  svg.setAttribute('class', `icon icon-${name}`);
  const path = document.createElementNS('http://www.w3.org/2000/svg', 'path');
  path.setAttribute('d', PATHS[name] ?? '');
  svg.append(path);
  return svg;
}

/** A button with an icon; its label is read to those who do not see it, and shown when the pointer rests. */
export function iconButton(name: string, label: string, action: () => void, key = ''): HTMLButtonElement {
  return h('button', {class: 'icon-button', type: 'button', 'aria-label': label, title: key ? `${label} (${key})` : label,
                      onclick: action}, icon(name));
}

/** Saves bytes under a name. */
export function save(blob: Blob, name: string) {
  const address = URL.createObjectURL(blob);
  const anchor = h('a', {href: address, download: name});
  document.body.append(anchor);
  anchor.click();
  anchor.remove();
  setTimeout(() => URL.revokeObjectURL(address), 10000);
}
