// The keys of structured comments, and where each belongs.
#include "records/copybook/entry.h"

namespace zvrt::records {

std::optional<Note>* Entries::note_slot(const std::string& key) {
  if (key == "page") return &notes.page;
  if (key == "newline") return &notes.newline;
  if (list.empty()) return nullptr;
  ItemNotes& item = list.back().notes;
  if (key == "column") return &item.column;
  if (key == "null") return &item.null_form;
  if (key == "indicator") return &item.indicator;
  if (key == "date") return &item.date;
  if (key == "table-date") return &item.table_date;
  return key == "number" ? &item.number : nullptr;
}

}  // namespace zvrt::records
