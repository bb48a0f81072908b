#include "inspect_page.h"

#include <fmt/format.h>

#include "records/tables/hexadecimal.h"

namespace zvrt::records {
namespace {

constexpr std::size_t most_bytes = 4096;  // of a record's map

constexpr std::string_view head = R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<title>Record file</title>
<style>
body{font:14px sans-serif;margin:2em;color:#222;background:#fff}
pre,code,.map,td{font-family:monospace}
table{border-collapse:collapse}td,th{padding:2px 10px;text-align:left;border-bottom:1px solid #ddd}
.map{display:flex;flex-wrap:wrap;max-width:64em;margin:.5em 0}
.map span{width:2em;text-align:center;padding:3px 0;background:#eee;cursor:default}
.map span:hover{outline:2px solid #000}
.c0{background:#cfe3ff!important}.c1{background:#ffe3b8!important}.c2{background:#d3f2cc!important}
.c3{background:#f5d0ea!important}.c4{background:#fff3a6!important}.c5{background:#c9eff0!important}
.bad{background:#e0443e!important;color:#fff}
.bar{display:flex;width:24em;height:1em;background:#eee}.bar .v{background:#4a9d5b}.bar .n{background:#bbb}
.bar .r{background:#e0443e}
</style></head><body>
<h1>Record file</h1>
)";

// Text as text of an element or an attribute. Characters that HTML does not allow are shown as their bytes.
std::string escaped(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool second_control = byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (byte == '&')
      out += "&amp;";
    else if (byte == '<')
      out += "&lt;";
    else if (byte == '>')
      out += "&gt;";
    else if (byte == '"')
      out += "&quot;";
    else if (second_control)
      out += fmt::format("\\x{:02X}", static_cast<unsigned char>(text[++i]));
    else if ((byte < 0x20 && byte != '\n') || byte == 0x7F)
      out += fmt::format("\\x{:02X}", byte);
    else
      out += text[i];
  }
  return out;
}

// Names of files and explanations, whose bytes need not be UTF-8.
std::string escaped_bytes(std::string_view text) {
  std::string ascii;
  for (const char c : text)
    ascii += static_cast<unsigned char>(c) < 0x80 ? std::string(1, c)
                                                  : fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
  return escaped(ascii);
}

// NOLINTNEXTLINE(misc-no-recursion): levels go from 1 to 49
void add_item(const Item& item, std::string& page) {
  page += fmt::format(
      R"(<tr class="item" data-path="{0}" data-offset="{1}" data-length="{2}" data-occurs="{3}"><td>{4:02}</td><td>{0}</td>)"
      "<td>{5}</td><td>{6}</td><td>{1}</td><td>{2}</td><td>{3}</td></tr>\n",
      escaped_bytes(item.path), item.offset, item.length, item.occurs, item.level, escaped_bytes(item.picture.text),
      escaped_bytes(item.usage_word));
  for (const auto& child : item.children) add_item(*child, page);
}

std::string value_of(const SeenField& seen) {
  if (seen.status != ZVRT_RC_OK) return escaped_bytes(fmt::format("{}: {}", name_of(seen.status), seen.why));
  return seen.null ? "null" : fmt::format("'{}'", escaped(seen.value));
}

// A cell for each byte, coloured by its field; what the field is and holds shows when the pointer is over it.
void add_map(const SeenRecord& record, std::string& page) {
  const std::size_t size = std::min(record.form.size(), most_bytes);
  std::vector<std::string> titles(size);
  std::vector<std::string> classes(size);
  for (std::size_t i = 0; i < record.fields.size(); ++i) {
    const SeenField& seen = record.fields[i];
    const Column& column = seen.field->column();
    const std::string title =
        fmt::format("{} {} {}, offset {}, {} bytes {}, {}", escaped_bytes(column.field),
                    escaped_bytes(column.item->picture.text), escaped_bytes(column.item->usage_word), column.offset,
                    seen.bytes.size(), hexadecimal(seen.bytes), value_of(seen));
    for (std::size_t at = column.offset; at < std::min(size, column.offset + seen.bytes.size()); ++at) {
      titles[at].append(titles[at].empty() ? "" : "\n").append(title);
      if (classes[at].empty() || seen.status != ZVRT_RC_OK)
        classes[at] = seen.status != ZVRT_RC_OK ? "bad" : fmt::format("c{}", i % 6);
    }
  }
  page += R"(<div class="map">)";
  for (std::size_t at = 0; at < size; ++at)
    page += fmt::format(
        R"(<span class="{}" title="{}">{}</span>)", classes[at],
        titles[at].empty() ? fmt::format("no field, offset {}", at) : titles[at],
        titles[at].empty() && record.moved ? "--" : hexadecimal(std::string_view(record.form).substr(at, 1)));
  page += "</div>\n";
}

void add_record(const SeenRecord& record, std::string& page) {
  page += fmt::format("<h3>Record {}{}{}, byte {}, {} bytes</h3>\n", record.number, record.segment.empty() ? "" : " ",
                      escaped_bytes(record.segment), record.offset, record.bytes.size());
  add_map(record, page);
  page += "<table><tr><th>field</th><th>offset</th><th>length</th><th>bytes</th><th>value</th></tr>\n";
  for (const SeenField& seen : record.fields)
    page += fmt::format("<tr><td>{}</td><td>{}</td><td>{}</td><td>{}</td><td>{}</td></tr>\n",
                        escaped_bytes(seen.field->column().field), seen.field->column().offset, seen.bytes.size(),
                        hexadecimal(seen.bytes), value_of(seen));
  page += "</table>\n";
}

void add_bar(const std::string& name, const FieldTally& tally, std::string& page) {
  std::string parts;
  const auto part = [&](const char* kind, std::uint64_t count, const std::string& what) {
    if (count != 0)
      parts += fmt::format(R"(<div class="{}" style="flex:{} 0 0" title="{} {}"></div>)", kind, count, count, what);
  };
  part("v", tally.values, "values");
  part("n", tally.nulls, "nulls");
  for (const auto& [status, count] : tally.statuses) part("r", count, name_of(status));
  page +=
      fmt::format("<tr><td>{}</td><td><div class=\"bar\">{}</div></td><td>{} values, {} nulls, {} refused</td></tr>\n",
                  escaped_bytes(name), parts, tally.values, tally.nulls, tally.refused);
}

}  // namespace

std::string inspection_page(const Job& job, const std::string& findings, const Look& look) {
  std::string page(head);
  page += fmt::format("<pre>{}</pre>\n<h2>Layout</h2>\n", escaped_bytes(findings));
  page +=
      "<table><tr><th>level</th><th>item</th><th>picture</th><th>usage</th><th>offset</th><th>length</th>"
      "<th>occurs</th></tr>\n";
  for (const Record& record : job.layout.records) {
    if (record.has_entry)
      add_item(*record.root, page);
    else
      for (const auto& child : record.root->children) add_item(*child, page);
  }
  page += fmt::format("</table>\n<h2>Fields in the first {} records</h2>\n<table>\n", look.records);
  for (std::size_t s = 0; s < look.tallies.size(); ++s)
    for (std::size_t i = 0; i < look.tallies[s].size(); ++i)
      add_bar(job.segments[s].codec->fields()[i]->column().field, look.tallies[s][i], page);
  page += "</table>\n<h2>First records</h2>\n";
  for (const SeenRecord& record : look.first) add_record(record, page);
  if (!look.refused.empty()) page += "<h2>Refused records</h2>\n";
  for (const SeenRecord& record : look.refused) add_record(record, page);
  return page + "</body></html>\n";
}

}  // namespace zvrt::records
