// Every cell of a Parquet file, read by apache-arrow, beside the CSV file that it was made of: node arrow_js.cjs PARQUET CSV
const fs = require("fs");
const { readParquet } = require("parquet-wasm");
const { DataType, tableFromIPC } = require("apache-arrow");

const [parquet, csv] = process.argv.slice(2);
const table = tableFromIPC(readParquet(fs.readFileSync(parquet)).intoIPCStream());

// Rows of cells; a quotation mark is doubled inside a quoted cell, and none of the file's has a line break.
const cells = (line) => {
  const found = [];
  for (const match of line.matchAll(/(?:^|,)(?:"((?:[^"]|"")*)"|([^,]*))/g)) found.push(match[1]?.replaceAll('""', '"') ?? match[2]);
  return found;
};
const [names, ...rows] = fs.readFileSync(csv, "utf8").trimEnd().split(/\r?\n/).map(cells);

// As the CSV file writes it.
const text = (value, type) => {
  if (value === null) return "";
  if (DataType.isDate(type)) return new Date(Number(value)).toISOString().slice(0, 10);
  if (!DataType.isDecimal(type) || type.scale === 0) return String(value);
  const digits = String(value).padStart(type.scale + 1, "0");
  return `${digits.slice(0, -type.scale)}.${digits.slice(-type.scale)}`;
};

let wrong = 0;
const expect = (what, found, expected) => {
  if (found !== expected && ++wrong < 10) console.log(`${what}: '${found}' instead of '${expected}'`);
};
expect("rows", table.numRows, rows.length);
expect("columns", table.schema.fields.map((field) => field.name).join(), names.join());
table.schema.fields.forEach((field, column) => {
  const values = table.getChildAt(column);
  rows.forEach((row, at) => expect(`row ${at + 1}, ${field.name}`, text(values.get(at), field.type), row[column]));
});
console.log(`${rows.length} rows of ${names.length} columns, ${wrong} cells wrong`);
process.exit(wrong === 0 && rows.length > 0 ? 0 : 1);
