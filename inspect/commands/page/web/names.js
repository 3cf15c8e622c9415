// Names as the bus has them, made fit to be shown: what cannot be seen, or would change how others are seen, is escaped
// byte by byte, as zunic_inspect's tables do it.

/* exported Names */
const Names = (() => {
  // Controls, marks of direction, characters without width, separators other than the blank, and those that look like
  // one; and the backslash of what would pass for an escaped byte.
  const HIDDEN = /\\(?=x)|[\p{C}\p{Default_Ignorable_Code_Point}\u2800]|(?! )\p{Z}/gu;
  const encoder = new TextEncoder();

  const escapedByte = byte => '\\x' + byte.toString(16).padStart(2, '0');
  const escaped = character => Array.from(encoder.encode(character), escapedByte).join('');

  // A name is a string or, when it is no UTF-8, an array of bytes.
  function shown(name) {
    if (Array.isArray(name)) {
      return name.map(byte => byte >= 0x20 && byte < 0x7f && byte !== 0x5c ? String.fromCharCode(byte) : escapedByte(byte))
        .join('');
    }
    return name.replace(HIDDEN, escaped);
  }

  return { shown };
})();
