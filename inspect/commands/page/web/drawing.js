// Makes elements of the page. Text goes in as text, never as markup.

/* exported Draw */
const Draw = (() => {
  const SVG = 'http://www.w3.org/2000/svg';

  function fill(element, attributes, children) {
    Object.entries(attributes || {}).forEach(([name, value]) => {
      if (value !== null && value !== undefined && value !== false) {
        element.setAttribute(name, value === true ? '' : value);
      }
    });
    element.append(...children);
    return element;
  }

  const html = (tag, attributes, ...children) => fill(document.createElement(tag), attributes, children);
  const svg = (tag, attributes, ...children) => fill(document.createElementNS(SVG, tag), attributes, children);

  // A name, whatever its direction of writing is: what stands around it keeps its own.
  const name = text => html('bdi', { class: 'name' }, text);

  const format = new Intl.NumberFormat('en');
  const number = value => typeof value === 'number' ? format.format(value) : String(value);
  const count = (value, one, many) => `${number(value)} ${value === 1 ? one : many || one + 's'}`;

  const pen = document.createElement('canvas').getContext('2d');

  // In pixels.
  function textWidth(text, font) {
    pen.font = font;
    return pen.measureText(text).width;
  }

  const byId = id => document.getElementById(id);

  return { html, svg, name, number, count, textWidth, byId };
})();
