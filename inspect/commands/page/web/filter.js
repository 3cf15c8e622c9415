// Which rows of a table fit a filter: each of its words has to occur in a row. "column:word" searches one column; where
// the column holds numbers, it asks for that number.

const wordsOf = text => text.toLowerCase().split(' ').filter(word => word !== '');

function columnTest(table, word) {
  const colon = word.indexOf(':');
  const asked = colon > 0 && table.columns.find(column => column.key === word.slice(0, colon));
  return asked ? asked.test(word.slice(colon + 1)) : null;
}

// A row fits by its own text, or by that of the row of another table that it belongs to.
function textTest(table, word) {
  const texts = table.texts();
  if (!table.related) {
    return row => texts[row.place].includes(word);
  }
  const relatedFits = table.related.texts().map(text => text.includes(word));
  return row => texts[row.place].includes(word) || (row.sender !== null && relatedFits[row.sender.place]);
}

// The rows among `rows` that fit, in the same order.
export function filtered(table, rows, text) {
  const tests = wordsOf(text).map(word => columnTest(table, word) || textTest(table, word));
  return tests.length === 0 ? rows : rows.filter(row => tests.every(test => test(row)));
}
