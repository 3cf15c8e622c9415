// Names as the bus has them, made fit to be shown: characters that are invisible, or that change how others are shown,
// are escaped byte by byte, as in the tables of zunic_inspect.

// Controls, marks of direction, characters without width, separators other than the blank, and those that look like
// one; and a backslash that would look like the beginning of an escaped byte.
const HIDDEN = /\\(?=x)|[\p{C}\p{Default_Ignorable_Code_Point}\u2800]|(?! )\p{Z}/gu;
const encoder = new TextEncoder();

const escapedByte = byte => '\\x' + byte.toString(16).padStart(2, '0');
const escaped = character => Array.from(encoder.encode(character), escapedByte).join('');
const byteText = byte => byte >= 0x20 && byte < 0x7f && byte !== 0x5c ? String.fromCharCode(byte) : escapedByte(byte);

// A name is a string or, when it is not valid UTF-8, an array of bytes.
export const shown = name => Array.isArray(name) ? name.map(byteText).join('') : name.replace(HIDDEN, escaped);
