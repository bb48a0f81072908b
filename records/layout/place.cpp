// Items stand one after the other. A redefinition stands where the item does that it redefines, and what follows stands
// after the longest of them. A synchronized item is moved to the next multiple of its boundary, counted from the start
// of the record; and an entry of a table that holds such items is as long as a multiple of the greatest boundary, so
// that they all stand alike:
//
//   01 R.
//      05 A PIC X.                    0  1
//      05 T OCCURS 2.                 1  8     3 slack bytes, 4 of B, 1 of C; then as far to the next B
//         10 B PIC S9(9) COMP SYNC.   4  4
//         10 C PIC X.                 8  1
#include "records/layout/place.h"

#include <algorithm>
#include <map>

#include "records/layout/names.h"

namespace zvrt::records {
namespace {

constexpr std::size_t most_record = 134'217'727;

class Placer {
 public:
  Placer(Tree& tree, const std::string& file, unsigned sync_boundary)
      : tree_(tree), file_(file), sync_boundary_(sync_boundary) {}

  void run() {
    for (const TreeNode& node : tree_.nodes)
      if (node.entry->redefines) settle_redefines(node);
    for (Record& record : tree_.records) {
      place(*record.root, 0);
      record.length = record.root->total_length();
      record.min_length = least_length(*record.root);
    }
    for (const TreeNode& node : tree_.nodes) {
      if (node.entry->renames_from) settle_renames(node);
      if (node.item->varies()) node_depends(node);
    }
  }

 private:
  // The item must stand right before, with nothing but its redefinitions between.
  void settle_redefines(const TreeNode& node) {
    const Reference& wanted = *node.entry->redefines;
    Item& item = *node.item;
    item.redefines_name = wanted.name;
    Item* found = item.parent == nullptr ? earlier_record(node) : earlier_sibling(item, wanted);
    if (found->level != item.level && item.parent != nullptr)
      fail(wanted.place, item.name + " has another level than " + wanted.name + ", which it redefines",
           "write the same level");
    item.redefines = found->redefines != nullptr ? found->redefines : found;
  }

  Item* earlier_record(const TreeNode& node) {
    const Reference& wanted = *node.entry->redefines;
    for (std::size_t k = node.record; k-- > 0;)
      if (tree_.records[k].name == wanted.name && tree_.records[k].root->level == node.item->level)
        return tree_.records[k].root.get();
    fail(wanted.place, "there is no record " + wanted.name + " before", "");
  }

  Item* earlier_sibling(const Item& item, const Reference& wanted) {
    const auto& siblings = item.parent->children;
    auto at =
        std::find_if(siblings.begin(), siblings.end(), [&](const auto& sibling) { return sibling.get() == &item; });
    const Item* between = nullptr;
    while (at != siblings.begin()) {
      Item* sibling = std::prev(at)->get();
      if (sibling->name == wanted.name) {
        if (between != nullptr)
          fail(wanted.place,
               between->name + " stands between " + item.name + " and " + wanted.name + ", which it redefines",
               "a redefinition follows its item");
        return sibling;
      }
      if (sibling->redefines == nullptr && between == nullptr) between = sibling;
      --at;
    }
    fail(wanted.place, "there is no " + wanted.name + " that " + item.name + " can redefine",
         "it stands before, in the same group, with the same level");
  }

  // Gives `item` its place and returns the greatest boundary in it.
  std::size_t place(Item& item, std::size_t offset) {
    item.offset = offset;
    if (!item.is_group()) {
      check_length(item);
      return boundary(item);
    }
    std::size_t end = offset;
    std::size_t greatest = 1;
    for (const auto& child : item.children) {
      if (child->is_renames()) continue;
      if (child->redefines != nullptr) {
        const std::size_t boundaries = place(*child, child->redefines->offset);
        if (child->is_group()) greatest = std::max(greatest, boundaries);
      } else {
        const std::size_t over = end % boundary(*child);
        child->slack_before = over == 0 ? 0 : boundary(*child) - over;
        greatest = std::max(greatest, place(*child, end + child->slack_before));
      }
      end = std::max(end, child->offset + child->total_length());
    }
    item.length = end - offset;
    if (item.occurs > 1 && item.length % greatest != 0) item.slack_after = greatest - item.length % greatest;
    item.length += item.slack_after;
    check_length(item);
    return greatest;
  }

  std::size_t boundary(const Item& item) const {
    if (!item.synchronized || item.is_group()) return 1;
    switch (item.usage) {
      case Usage::binary:
      case Usage::native:
      case Usage::comp_x:
        if (item.length == 8) return sync_boundary_;
        return item.length == 2 || item.length == 4 ? item.length : 1;
      case Usage::comp_1:
      case Usage::comp_2: return item.length;
      case Usage::pointer:
      case Usage::index: return 4;
      default: return 1;
    }
  }

  void check_length(const Item& item) const {
    if (item.length == 0) fail(item.place, item.name + " has no bytes", "");
    if (item.length > most_record / item.occurs || item.offset > most_record - item.total_length())
      fail(item.place, "the record is longer than 134217727 bytes", "");
  }

  // Of all occurrences, with every table of variable length at its least.
  static std::size_t least_length(const Item& item) {
    if (!item.is_group()) return item.length * item.occurs_min;
    std::map<const Item*, std::size_t> starts;
    std::size_t end = 0;
    for (const auto& child : item.children) {
      if (child->is_renames()) continue;
      const std::size_t start = child->redefines != nullptr ? starts.at(child->redefines) : end + child->slack_before;
      starts[child.get()] = start;
      end = std::max(end, start + least_length(*child));
    }
    return (end + item.slack_after) * item.occurs_min;
  }

  void settle_renames(const TreeNode& node) {
    Item& item = *node.item;
    const Item& root = *tree_.records[node.record].root;
    const Item& from = find(root, *node.entry->renames_from);
    const Item& through = node.entry->renames_through ? find(root, *node.entry->renames_through) : from;
    const std::size_t end = through.offset + through.total_length();
    if (from.offset >= end || through.offset < from.offset)
      fail(node.entry->renames_from->place, through.name + " stands before " + from.name, "");
    item.renames_from = &from;
    item.renames_through = &through;
    item.offset = from.offset;
    item.length = end - from.offset;
    if (&from == &through) take_form(item, from);
  }

  static void take_form(Item& item, const Item& from) {
    item.picture = from.picture;
    item.usage = from.usage;
    item.usage_word = from.usage_word;
    item.digits = from.digits;
    item.scale = from.scale;
    item.is_signed = from.is_signed;
    item.sign_leading = from.sign_leading;
    item.sign_separate = from.sign_separate;
    item.justified = from.justified;
    item.blank_when_zero = from.blank_when_zero;
  }

  // The count of a table may stand in another record or in a program: then the layout alone cannot read it.
  void node_depends(const TreeNode& node) {
    const Reference& wanted = *node.entry->occurs->depends_on;
    const Matches matches = nearest(items_named(*tree_.records[node.record].root, wanted), *node.item);
    if (matches.size() > 1) fail_among(matches, wanted);
    if (!matches.empty()) node.item->depends_on = matches.front();
  }

  const Item& find(const Item& root, const Reference& wanted) const {
    const Matches matches = items_named(root, wanted);
    if (matches.size() == 1) return *matches.front();
    if (matches.empty()) fail(wanted.place, "there is no item " + wanted.name + " in " + root.name, "");
    fail_among(matches, wanted);
  }

  [[noreturn]] void fail_among(const Matches& matches, const Reference& wanted) const {
    fail(wanted.place, "there are " + std::to_string(matches.size()) + " items " + wanted.name,
         "write of which group: " + wanted.name + " OF GROUP");
  }

  [[noreturn]] void fail(Place place, const std::string& message, const std::string& hint) const {
    throw CopybookError(file_, place, message, hint);
  }

  Tree& tree_;
  const std::string& file_;
  const std::size_t sync_boundary_;
};

}  // namespace

void settle_places(Tree& tree, const std::string& file, unsigned sync_boundary) {
  Placer(tree, file, sync_boundary).run();
}

}  // namespace zvrt::records
