// Which rows of a table fit what has been typed: each word has to occur in a row. "column:word" asks one column; where
// the column holds numbers, it asks for the very number.

/* exported Filter */
const Filter = (() => {
  const wordsOf = text => text.toLowerCase().split(' ').filter(word => word !== '');

  function columnTest(table, word) {
    const colon = word.indexOf(':');
    const column = colon > 0 && table.columns.find(one => one.key === word.slice(0, colon));
    if (!column) {
      return null;
    }
    const wanted = word.slice(colon + 1);
    if (column.fits) {
      return row => column.fits(row, wanted);
    }
    if (column.isNumber) {
      return row => wanted === '' || String(column.value(row)) === wanted;
    }
    return row => String(column.text(row)).toLowerCase().includes(wanted);
  }

  // A row fits by its own text, or by that of the row of another table that it belongs to.
  function textTest(table, word) {
    const texts = table.texts();
    if (!table.related) {
      return row => texts[row].includes(word);
    }
    const relatedFits = table.related.texts().map(text => text.includes(word));
    return row => texts[row].includes(word) || relatedFits[table.relatedRow(row)] === true;
  }

  // The rows among `rows` that fit, in the same order.
  function apply(table, rows, text) {
    const tests = wordsOf(text).map(word => columnTest(table, word) || textTest(table, word));
    return tests.length === 0 ? rows : rows.filter(row => tests.every(test => test(row)));
  }

  return { apply };
})();
