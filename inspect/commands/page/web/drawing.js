// Makes elements of the page. Text goes in as text, never as markup.

const SVG = 'http://www.w3.org/2000/svg';

function fill(element, attributes, children) {
  Object.entries(attributes).forEach(([name, value]) => {
    if (value !== null && value !== undefined && value !== false) {
      element.setAttribute(name, value === true ? '' : value);
    }
  });
  element.append(...children);
  return element;
}

export const html = (tag, attributes, ...children) => fill(document.createElement(tag), attributes, children);
export const svg = (tag, attributes, ...children) => fill(document.createElementNS(SVG, tag), attributes, children);

// A name in any direction of writing, without effect on the text around it.
export const nameElement = text => html('bdi', { class: 'name' }, text);
export const badge = (text, look) => html('span', { class: `badge ${look}` }, text);

const format = new Intl.NumberFormat('en');
export const numberText = value => typeof value === 'number' ? format.format(value) : String(value);
export const countText = (value, one, many) => `${numberText(value)} ${value === 1 ? one : many || one + 's'}`;

const pen = document.createElement('canvas').getContext('2d');

// In pixels.
export function textWidth(text, font) {
  pen.font = font;
  return pen.measureText(text).width;
}

export const byId = id => document.getElementById(id);
