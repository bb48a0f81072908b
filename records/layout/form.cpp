#include "records/layout/form.h"

#include <array>
#include <unordered_map>

namespace zvrt::records {
namespace {

// Bytes of a binary item whose size goes by its digits in steps of one byte: the least that hold its range.
std::size_t least_bytes(int digits, bool is_signed) {
  static constexpr std::array with_sign{2, 4, 6, 9, 11, 14, 16, 18, 21, 23, 26, 28, 31, 33, 35, 38};
  static constexpr std::array without_sign{2, 4, 7, 9, 12, 14, 16, 19, 21, 24, 26, 28, 31, 33, 36, 38};
  const auto& most = is_signed ? with_sign : without_sign;
  for (std::size_t k = 0; k < most.size(); ++k)
    if (digits <= most[k]) return k + 1;
  return 16;
}

// More than 18 digits need more than 8 bytes: as few as hold them and a sign.
std::size_t binary_bytes(int digits, bool is_signed, BinarySizes sizes) {
  if (sizes == BinarySizes::b1_to_8) return least_bytes(digits, is_signed);
  if (sizes == BinarySizes::b1_2_4_8 && digits <= 2) return 1;
  return digits <= 4 ? 2 : digits <= 9 ? 4 : digits <= 18 ? 8 : least_bytes(digits, true);
}

bool is_text(Category category) {
  return category == Category::alphabetic || category == Category::alphanumeric ||
         category == Category::alphanumeric_edited;
}

// PIC X(n) as a binary number has n bytes; compilers agree on these n.
bool is_size_of_bytes(const Item& item) {
  const std::size_t bytes = item.picture.length;
  return bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8 || (item.usage == Usage::comp_x && bytes < 8);
}

class FormMaker {
 public:
  FormMaker(Tree& tree, const std::string& file, BinarySizes sizes) : tree_(tree), file_(file), sizes_(sizes) {
    for (const TreeNode& node : tree.nodes) entries_[node.item] = node.entry;
  }

  void run() {
    for (const TreeNode& node : tree_.nodes) {
      if (node.item->level == 66) continue;
      if (node.item->children.empty() || only_renames(*node.item))
        settle(*node.entry, *node.item);
      else
        check_group(*node.entry, *node.item);
    }
  }

 private:
  static bool only_renames(const Item& item) {
    for (const auto& child : item.children)
      if (child->level != 66) return false;
    return true;
  }

  // SYNC on an 01 entry is for every item of the record.
  void check_group(const Entry& entry, const Item& item) const {
    if (entry.picture)
      fail(entry.picture->place, item.name + " is a group and has a picture", "check the level numbers");
    if (entry.synchronized && item.parent != nullptr)
      fail(entry.place, item.name + " is a group and has SYNC", "write SYNC to its items, or to the 01 entry");
  }

  // The clause of the item itself, else of the nearest group around it.
  template <class Clause>
  const Clause* inherited(const Item& item, std::optional<Clause> Entry::*clause) const {
    for (const Item* at = &item; at != nullptr; at = at->parent)
      if (const auto found = entries_.find(at); found != entries_.end() && found->second->*clause)
        return &*(found->second->*clause);
    return nullptr;
  }

  void settle(const Entry& entry, Item& item) const {
    const UsageClause* usage = inherited(item, &Entry::usage);
    if (usage != nullptr && usage->bytes != 0) return settle_by_usage(entry, item, *usage);
    if (!entry.picture)
      fail(entry.place, item.name + " has neither a picture nor parts", "check the level number of what follows");
    item.digits = item.picture.digits;
    item.scale = item.picture.scale;
    item.is_signed = item.picture.is_signed;
    item.usage = usage == nullptr ? Usage::display : usage->usage;
    item.usage_word = usage == nullptr ? "DISPLAY" : usage->word;
    if (item.picture.category == Category::national || item.picture.category == Category::national_edited ||
        item.picture.category == Category::dbcs)
      default_wide_usage(item, usage);
    if (item.usage == Usage::unsigned_packed && item.is_signed) {  // as compilers do, with a warning
      item.usage = Usage::packed;
      item.usage_word = "COMP-3";
    }
    settle_sign(entry, item);
    settle_sync(item);
    item.length = length_of(entry, item);
  }

  void settle_by_usage(const Entry& entry, Item& item, const UsageClause& usage) const {
    if (entry.picture) fail(entry.picture->place, usage.word + " has no picture", "take the picture or the usage away");
    item.usage = usage.usage;
    item.usage_word = usage.word;
    item.is_signed = usage.is_signed;
    item.length = usage.bytes;
    settle_sync(item);
    if (usage.usage == Usage::native || usage.usage == Usage::pointer || usage.usage == Usage::index)
      item.digits = usage.bytes == 1 ? 3 : usage.bytes == 2 ? 5 : usage.bytes == 4 ? 10 : usage.is_signed ? 19 : 20;
  }

  // N is NATIONAL and G is DISPLAY-1 where no usage says otherwise.
  static void default_wide_usage(Item& item, const UsageClause* usage) {
    if (usage != nullptr) return;
    const bool dbcs = item.picture.category == Category::dbcs;
    item.usage = dbcs ? Usage::dbcs : Usage::national;
    item.usage_word = dbcs ? "DISPLAY-1" : "NATIONAL";
  }

  static void settle_sync(Item& item) {
    const Item* root = &item;
    while (root->parent != nullptr) root = root->parent;
    item.synchronized = item.synchronized || root->synchronized;
  }

  // A group's clause is for the signed numbers in it. An item's own holds for edited pictures too, and makes a number
  // without S a signed one. A sign that is not separate stands over a digit, so it takes nothing.
  void settle_sign(const Entry& entry, Item& item) const {
    const SignClause* sign = inherited(item, &Entry::sign);
    const Category category = item.picture.category;
    const bool number = category == Category::numeric || category == Category::numeric_edited;
    const bool has_s = !item.picture.runs.empty() && item.picture.runs.front().symbol == 'S';
    const bool characters = item.usage == Usage::display || item.usage == Usage::national;
    if (sign == nullptr || !number || !characters || !(has_s || (entry.sign && entry.sign->separate))) return;
    item.is_signed = true;
    item.sign_leading = sign->leading;
    item.sign_separate = sign->separate;
  }

  std::size_t length_of(const Entry& entry, const Item& item) const {
    const Category category = item.picture.category;
    const bool number = category == Category::numeric;
    const bool wide =
        category == Category::national || category == Category::national_edited || category == Category::dbcs;
    const auto digits = static_cast<std::size_t>(item.digits);
    const std::size_t characters = item.picture.length + (item.sign_separate ? 1 : 0);
    switch (item.usage) {
      case Usage::display:
        if (!wide) return characters;
        break;
      case Usage::national:
        if (!is_text(category) && category != Category::dbcs) return 2 * characters;
        break;
      case Usage::dbcs:
        if (wide) return 2 * characters;
        break;
      case Usage::packed:
        if (number) return digits / 2 + 1;
        break;
      case Usage::unsigned_packed:
        if (number) return (digits + 1) / 2;
        break;
      case Usage::binary:
        if (number) return binary_bytes(item.digits, item.is_signed, sizes_);
        break;
      case Usage::native:
      case Usage::comp_x:
        if (category == Category::alphanumeric && is_size_of_bytes(item)) return item.picture.length;
        if (number && (item.usage == Usage::comp_x || item.usage_word == "COMP-N"))
          return least_bytes(item.digits, false);
        if (number) return binary_bytes(item.digits, item.is_signed, sizes_);
        break;
      default: break;
    }
    fail(entry.picture->place, "picture " + item.picture.text + " does not go with " + item.usage_word, "");
  }

  [[noreturn]] void fail(Place place, const std::string& message, const std::string& hint) const {
    throw CopybookError(file_, place, message, hint);
  }

  Tree& tree_;
  const std::string& file_;
  const BinarySizes sizes_;
  std::unordered_map<const Item*, const Entry*> entries_;
};

}  // namespace

void settle_forms(Tree& tree, const std::string& file, BinarySizes sizes) { FormMaker(tree, file, sizes).run(); }

}  // namespace zvrt::records
