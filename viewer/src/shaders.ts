// The shaders. The displacement of a node is a sum over the modes that take part, read from a texture with a layer per
// mode, so that playing costs the processor nothing.

export const MOST_LAYERS = 48;
export const TEXTURE_WIDTH = 1024;

const MORPH = `
uniform highp isampler2DArray uModes;
uniform int uCount;
uniform int uLayer[${MOST_LAYERS}];
uniform float uWeight[${MOST_LAYERS}];
attribute float node;
ivec2 texelOfNode() {
  int n = int(node + 0.5);
  return ivec2(n & ${TEXTURE_WIDTH - 1}, n >> 10);
}
vec3 displaced(vec3 place) {
  ivec2 texel = texelOfNode();
  for (int i = 0; i < uCount; ++i) place += uWeight[i] * vec3(texelFetch(uModes, ivec3(texel, uLayer[i]), 0).xyz);
  return place;
}`;

// The value of a node on its way to its color; far below all numbers where none is known.
const VALUE = `
uniform highp sampler2D uValues;
varying float vValue;
varying float vKnown;
void takeValue() {
  float value = texelFetch(uValues, texelOfNode(), 0).r;
  vKnown = value > -1e30 ? 1.0 : 0.0;
  vValue = vKnown * value;
}`;

export const SURFACE_VERTEX = `${MORPH}
${VALUE}
varying vec3 vPlace;
varying vec3 vRest;
varying vec3 vNormal;
void main() {
  vec4 rest = modelViewMatrix * vec4(position, 1.0);
  vec4 place = modelViewMatrix * vec4(displaced(position), 1.0);
  takeValue();
  vRest = rest.xyz;
  vPlace = place.xyz;
  vNormal = normalMatrix * normal;
  gl_Position = projectionMatrix * place;
}`;

// Lighting needs the normal of the deformed surface. The smooth normal of the surface at rest is turned as the facet
// is turned: from the normal of the facet at rest to that of the facet as it stands, both from screen derivatives.
const SHADE = `
vec3 normalHere() {
  vec3 rest = cross(dFdx(vRest), dFdy(vRest));
  vec3 now = cross(dFdx(vPlace), dFdy(vPlace));
  vec3 n = normalize(vNormal);
  float a = length(rest);
  float b = length(now);
  if (a > 0.0 && b > 0.0) {
    rest /= a;
    now /= b;
    if (dot(n, rest) < 0.0) { rest = -rest; now = -now; }
    vec3 axis = cross(rest, now);
    float cosine = dot(rest, now);
    n = cosine > -0.95 ? n + cross(axis, n) + cross(axis, cross(axis, n)) / (1.0 + cosine) : now;
  }
  n = normalize(n);
  return dot(n, vPlace) > 0.0 ? -n : n;
}
vec3 lit(vec3 base, vec3 n) {
  vec3 eye = normalize(-vPlace);
  float key = max(dot(n, normalize(vec3(0.45, 0.65, 0.75))), 0.0);
  float fill = max(dot(n, normalize(vec3(-0.75, -0.15, 0.5))), 0.0);
  float sky = 0.5 + 0.5 * n.y;
  float head = max(dot(n, eye), 0.0);
  float shine = pow(max(dot(n, normalize(normalize(vec3(0.45, 0.65, 0.75)) + eye)), 0.0), 42.0);
  return base * (0.34 + 0.17 * sky + 0.36 * key + 0.12 * fill + 0.15 * head) + vec3(0.13) * shine;
}`;

const COLOR = `
uniform sampler2D uColors;
uniform float uFactor;
uniform float uLow;
uniform float uHigh;
uniform bool uMagnitude;
uniform bool uColored;
uniform vec3 uPlain;
uniform vec3 uUnknown;
varying float vValue;
varying float vKnown;
vec3 colorHere(vec3 unknown) {
  if (!uColored) return uPlain;
  if (vKnown < 0.999) return unknown;
  float value = uMagnitude ? abs(vValue * uFactor) : vValue * uFactor;
  float t = clamp((value - uLow) / (uHigh - uLow), 0.0, 1.0);
  return texture2D(uColors, vec2(t * 255.0 / 256.0 + 0.5 / 256.0, 0.5)).rgb;
}`;

export const SURFACE_FRAGMENT = `
varying vec3 vPlace;
varying vec3 vRest;
varying vec3 vNormal;
${COLOR}
${SHADE}
void main() {
  float hatch = mod(gl_FragCoord.x + gl_FragCoord.y, 9.0) < 2.0 ? 0.84 : 1.0;
  gl_FragColor = vec4(lit(colorHere(uUnknown * hatch), normalHere()), 1.0);
}`;

export const GHOST_VERTEX = `
varying vec3 vPlace;
varying vec3 vNormal;
void main() {
  vec4 place = modelViewMatrix * vec4(position, 1.0);
  vPlace = place.xyz;
  vNormal = normalMatrix * normal;
  gl_Position = projectionMatrix * place;
}`;

export const GHOST_FRAGMENT = `
uniform vec3 uColor;
uniform float uOpacity;
varying vec3 vPlace;
varying vec3 vNormal;
void main() {
  float rim = 1.0 - abs(dot(normalize(vNormal), normalize(vPlace)));
  gl_FragColor = vec4(uColor, uOpacity * (0.12 + 0.88 * rim * rim));
}`;

export const LINE_VERTEX = `${MORPH}
uniform float uNearer;
void main() {
  gl_Position = projectionMatrix * modelViewMatrix * vec4(displaced(position), 1.0);
  gl_Position.z -= uNearer * gl_Position.w;
}`;

export const LINE_FRAGMENT = `
uniform vec3 uColor;
uniform float uOpacity;
void main() { gl_FragColor = vec4(uColor, uOpacity); }`;

export const POINT_VERTEX = `${MORPH}
${VALUE}
uniform float uSize;
uniform float uNearer;
void main() {
  takeValue();
  gl_Position = projectionMatrix * modelViewMatrix * vec4(displaced(position), 1.0);
  gl_Position.z -= uNearer * gl_Position.w;
  gl_PointSize = uSize;
}`;

export const POINT_FRAGMENT = `
${COLOR}
void main() {
  vec2 at = 2.0 * gl_PointCoord - 1.0;
  float r = dot(at, at);
  if (r > 1.0) discard;
  gl_FragColor = vec4(colorHere(uUnknown) * (1.05 - 0.4 * r), 1.0);
}`;
