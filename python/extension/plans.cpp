// A run is checked before it begins: every slot lies within the buffer that was given, so that no argument of Python's
// can make the library read or write beside it.
#include "plans.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>

#include "errors.h"
#include "plan_types.h"

namespace zvrt::python {
namespace {

struct DestroyPlan {
  void operator()(ZVRTPlan* plan) const { ZVRTPlanDestroy(plan); }
};

struct PlanBody {
  std::unique_ptr<ZVRTPlan, DestroyPlan> plan;
  TypeWords from;
  TypeWords to;
};

// A buffer of Python's, given back with its scope.
class Held {
 public:
  Held(PyObject* object, int flags) { succeeded(PyObject_GetBuffer(object, &view_, flags)); }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() { PyBuffer_Release(&view_); }
  const Py_buffer& view() const { return view_; }

 private:
  Py_buffer view_{};
};

// Where slots stand in a buffer: slot i at data + i * stride.
struct Slots {
  char* data = nullptr;
  std::int64_t stride = 0;
  std::int64_t count = 0;
};

bool is_contiguous(const Py_buffer& view) { return PyBuffer_IsContiguous(&view, 'C') != 0; }

// The items of an array, where one is a slot: a numpy column of S5 or V5, a view of a field of records.
std::optional<Slots> items_of(const Py_buffer& view, std::int64_t slot) {
  if (view.ndim < 1 || view.shape == nullptr || view.strides == nullptr) return std::nullopt;
  std::int64_t bytes = view.itemsize;
  for (int d = view.ndim - 1; d > 0; --d) {
    if (view.strides[d] != bytes) return std::nullopt;
    bytes *= view.shape[d];
  }
  if (bytes != slot) return std::nullopt;
  return Slots{static_cast<char*>(view.buf), view.strides[0], view.shape[0]};
}

struct Wanted {
  std::int64_t offset = 0;
  std::optional<std::int64_t> stride;
  std::optional<std::int64_t> count;
};

// Slots side by side or at a stride in bytes, all of them within.
Slots slots_of(const Py_buffer& view, std::int64_t slot, const Wanted& wanted, const char* what) {
  if (wanted.offset == 0 && !wanted.stride)
    if (std::optional<Slots> items = items_of(view, slot)) {
      if (wanted.count.value_or(items->count) > items->count)
        raise(PyExc_ValueError, fmt::format("{}: {} values, and {} are wanted", what, items->count, *wanted.count));
      items->count = wanted.count.value_or(items->count);
      return *items;
    }
  if (!is_contiguous(view) || (view.itemsize != 1 && !wanted.stride))
    raise(PyExc_ValueError,
          fmt::format("{}: its items of {} bytes are no slots of {}; tell the stride", what, view.itemsize, slot));
  const std::int64_t bytes = view.len;
  const std::int64_t stride = wanted.stride.value_or(slot);
  const bool apart = stride >= slot || stride <= -slot;
  const std::int64_t most = std::numeric_limits<std::int64_t>::max() / 4;
  if (wanted.offset < 0 || wanted.offset > bytes || stride > most || stride < -most || stride == 0)
    raise(PyExc_ValueError, fmt::format("{}: offset or stride is out of range", what));
  std::int64_t room = 0;
  if (bytes - wanted.offset >= slot)
    room = (stride > 0 ? (bytes - wanted.offset - slot) / stride : wanted.offset / -stride) + 1;
  const std::int64_t count = wanted.count.value_or(room);
  if (count < 0 || count > room)
    raise(PyExc_ValueError, fmt::format("{}: {} values are wanted, and there is room for {}", what, count, room));
  if (!apart && count > 1 && view.readonly == 0 && std::string_view(what) == "target")
    raise(PyExc_ValueError, "target: slots overlap");
  return {static_cast<char*>(view.buf) + wanted.offset, stride, count};
}

std::optional<std::int64_t> optional_number(PyObject* object) {
  if (object == Py_None) return std::nullopt;
  const long long number = PyLong_AsLongLong(object);
  if (number == -1 && PyErr_Occurred() != nullptr) throw ErrorIsSet();
  return number;
}

std::unique_ptr<Held> array_of_int64(PyObject* object, const char* what, std::optional<std::int64_t> count) {
  if (object == Py_None) return nullptr;
  auto held = std::make_unique<Held>(object, PyBUF_FORMAT | PyBUF_C_CONTIGUOUS);
  const Py_buffer& view = held->view();
  const std::string_view format = view.format != nullptr ? view.format : "B";
  if (view.itemsize != 8 || (format != "l" && format != "q"))
    raise(PyExc_TypeError, fmt::format("{}: an array of int64 is wanted", what));
  if (count && view.len / 8 < *count) raise(PyExc_ValueError, fmt::format("{}: {} entries are wanted", what, *count));
  return held;
}

// One run: its arguments held, its places checked.
class Run {
 public:
  Run(const PlanBody& plan, PyObject* arguments) : plan_(plan) {
    PyObject* source = nullptr;
    PyObject* stride = nullptr;
    PyObject* count = nullptr;
    PyObject* starts = nullptr;
    PyObject* lengths = nullptr;
    PyObject* select = nullptr;
    PyObject* target = nullptr;
    long long offset = 0;
    if (PyArg_ParseTuple(arguments, "OLOOOOOO", &source, &offset, &stride, &count, &starts, &lengths, &select,
                         &target) == 0)
      throw ErrorIsSet();
    from_.size = sizeof from_;
    to_.size = sizeof to_;
    const Wanted wanted{offset, optional_number(stride), optional_number(count)};
    source_ = std::make_unique<Held>(source, PyBUF_STRIDED_RO);
    starts_ = array_of_int64(starts, "starts", wanted.count);
    if (!starts_ && plan.from.slot() == 0)
      raise(PyExc_ValueError, "a source type without a length needs starts and lengths");
    if (starts_)
      take_starts(wanted, lengths);
    else
      take_slots(wanted, lengths);
    take_select(select);
    take_target(target);
  }

  PyObject* run() {
    ZVRTOutcome outcome{};
    outcome.size = sizeof outcome;
    std::uint32_t status = 0;
    unlocked([&] { status = ZVRTPlanRun(plan_.plan.get(), &from_, &to_, count_, &outcome); });
    check(status);
    return Py_BuildValue("(OOOLLLLLI)", made_ ? made_.get() : Py_None, status_.get(),
                         lengths_ ? lengths_.get() : Py_None, static_cast<long long>(outcome.done),
                         static_cast<long long>(outcome.refused), static_cast<long long>(outcome.nulls),
                         static_cast<long long>(outcome.empty), static_cast<long long>(outcome.firstRefused),
                         static_cast<unsigned>(outcome.firstStatus));
  }

 private:
  void take_slots(const Wanted& wanted, PyObject* lengths) {
    const Slots slots = slots_of(source_->view(), plan_.from.slot(), wanted, "source");
    from_.data = slots.data;
    from_.stride = slots.stride;
    count_ = slots.count;
    take_lengths(lengths);
  }

  // Each value lies within the bytes; without a length of the type, the lengths alone bound it.
  void take_starts(const Wanted& wanted, PyObject* lengths) {
    const Py_buffer& view = source_->view();
    if (!is_contiguous(view)) raise(PyExc_ValueError, "source: with starts, bytes that are adjacent are wanted");
    if (wanted.stride) raise(PyExc_ValueError, "starts and stride exclude each other");
    count_ = wanted.count.value_or(starts_->view().len / 8);
    if (wanted.offset < 0 || wanted.offset > view.len || count_ < 0)
      raise(PyExc_ValueError, "offset or count is out of range");
    take_lengths(lengths);
    const std::int64_t slot = plan_.from.slot();
    if (slot == 0 && (!source_lengths_ || !plan_.from.is_counted()))
      raise(PyExc_ValueError, "a source type without a length is counted, and needs lengths");
    const auto* const start = static_cast<const std::int64_t*>(starts_->view().buf);
    const auto* const length =
        source_lengths_ ? static_cast<const std::int64_t*>(source_lengths_->view().buf) : nullptr;
    const std::int64_t bytes = view.len - wanted.offset;
    for (std::int64_t i = 0; i < count_; ++i) {
      if (slot == 0 && length[i] < -1) raise(PyExc_ValueError, fmt::format("lengths[{}] is out of range", i));
      const std::int64_t needed = slot == 0 ? std::max<std::int64_t>(length[i], 0) : slot;
      const bool counted = plan_.from.is_counted() && length != nullptr && length[i] >= 0 && length[i] <= slot;
      if (start[i] < 0 || start[i] > bytes || bytes - start[i] < (counted ? length[i] : needed))
        raise(PyExc_ValueError, fmt::format("starts[{}]: the value is not within the source", i));
    }
    from_.data = static_cast<char*>(view.buf) + wanted.offset;
    from_.starts = start;
  }

  void take_lengths(PyObject* lengths) {
    source_lengths_ = array_of_int64(lengths, "lengths", count_);
    if (!source_lengths_) return;
    from_.lengths = from_.indicators = source_lengths_->view().buf;
    from_.lengthBytes = from_.indicatorBytes = sizeof(std::int64_t);
  }

  void take_select(PyObject* select) {
    if (select == Py_None) return;
    select_ = std::make_unique<Held>(select, PyBUF_C_CONTIGUOUS);
    if (select_->view().itemsize != 1 || select_->view().len < count_)
      raise(PyExc_ValueError, "select: a byte for each value is wanted");
    from_.select = static_cast<const std::uint8_t*>(select_->view().buf);
  }

  void take_target(PyObject* target) {
    const std::int64_t slot = plan_.to.slot();
    if (slot <= 0) raise(PyExc_ValueError, "the target type has no length");
    if (count_ > std::numeric_limits<std::int64_t>::max() / std::max<std::int64_t>(slot, 8)) throw std::bad_alloc();
    if (target == Py_None) {
      made_ = zeros(count_ * slot);
      to_.data = PyByteArray_AsString(made_.get());
      to_.stride = slot;
    } else {
      target_ = std::make_unique<Held>(target, PyBUF_STRIDED);
      const Slots slots = slots_of(target_->view(), slot, {0, std::nullopt, count_}, "target");
      to_.data = slots.data;
      to_.stride = slots.stride;
    }
    status_ = zeros(count_ * std::int64_t{sizeof(std::uint32_t)});
    to_.status = static_cast<std::uint32_t*>(static_cast<void*>(PyByteArray_AsString(status_.get())));
    if (!needs_lengths()) return;
    lengths_ = zeros(count_ * std::int64_t{sizeof(std::int64_t)});
    to_.lengths = to_.indicators = PyByteArray_AsString(lengths_.get());
    to_.lengthBytes = to_.indicatorBytes = sizeof(std::int64_t);
  }

  // Where values have lengths, or can be null.
  bool needs_lengths() const {
    constexpr std::uint32_t null_forms =
        ZVRT_TYPE_NULL_BLANKS | ZVRT_TYPE_NULL_ZEROS | ZVRT_TYPE_NULL_LOW | ZVRT_TYPE_NULL_HIGH;
    return plan_.to.type.kind <= ZVRT_KIND_BYTES || plan_.to.type.kind == ZVRT_KIND_VARNUM ||
           source_lengths_ != nullptr || (plan_.from.type.flags & null_forms) != 0;
  }

  static Ref zeros(std::int64_t bytes) {
    Ref made = owned(PyByteArray_FromStringAndSize(nullptr, static_cast<Py_ssize_t>(bytes)));
    std::memset(PyByteArray_AsString(made.get()), 0, static_cast<std::size_t>(bytes));
    return made;
  }

  const PlanBody& plan_;
  ZVRTArray from_{};
  ZVRTArray to_{};
  std::int64_t count_ = 0;
  std::unique_ptr<Held> source_;
  std::unique_ptr<Held> starts_;
  std::unique_ptr<Held> source_lengths_;
  std::unique_ptr<Held> select_;
  std::unique_ptr<Held> target_;
  Ref made_;
  Ref status_;
  Ref lengths_;
};

PyObject* plan_new(PyTypeObject* type, PyObject* arguments, PyObject* /*keywords*/) {
  return guarded([&] {
    PyObject* from = nullptr;
    PyObject* to = nullptr;
    PyObject* options = nullptr;
    if (PyArg_ParseTuple(arguments, "O!O!O", &PyTuple_Type, &from, &PyTuple_Type, &to, &options) == 0)
      throw ErrorIsSet();
    PlanBody body;
    take_type(from, body.from);
    take_type(to, body.to);
    ZVRTPlan* plan = nullptr;
    ZVRTProblem why{};
    why.size = sizeof why;
    const std::uint32_t status = ZVRTPlanCreate(&body.from.type, &body.to.type, plan_options(options), &plan, &why);
    check(status, static_cast<const char*>(why.text));
    body.plan.reset(plan);
    return make_object(reinterpret_cast<PyObject*>(type), std::move(body));
  });
}

PyObject* plan_run(PyObject* self, PyObject* arguments) {
  return guarded([&] { return Run(body_of<PlanBody>(self), arguments).run(); });
}

// (status, name, offset, unit, needed, text) of one value in a buffer of its own.
PyObject* plan_explain(PyObject* self, PyObject* value) {
  return guarded([&] {
    const auto& plan = body_of<PlanBody>(self);
    const Held held(value, PyBUF_SIMPLE);
    const std::int64_t bytes = held.view().len;
    const std::int64_t slot = plan.from.slot();
    if (plan.from.is_counted() ? slot != 0 && bytes > slot : bytes != slot)
      raise(PyExc_ValueError, fmt::format("the value has {} bytes, and its type {}", bytes, slot));
    ZVRTProblem why{};
    why.size = sizeof why;
    check(ZVRTPlanExplain(plan.plan.get(), held.view().buf, bytes, &why));
    return Py_BuildValue("(IsiIIs)", static_cast<unsigned>(why.status), ZVRTStatusName(why.status),
                         static_cast<int>(why.offset), static_cast<unsigned>(why.unit),
                         static_cast<unsigned>(why.needed), why.text);
  });
}

PyMethodDef plan_methods[] = {{"run", plan_run, METH_VARARGS, "The run of zvrt.Plan, with all arguments."},
                              {"explain", plan_explain, METH_O, "Why a value is refused."},
                              {}};
PyType_Slot plan_slots[] = {{Py_tp_new, slot(plan_new)},
                            {Py_tp_dealloc, slot(free_object<PlanBody>)},
                            {Py_tp_methods, plan_methods},
                            {0, nullptr}};
PyType_Spec plan_spec{"zvrt._zvrt.Plan", sizeof(Object<PlanBody>), 0, Py_TPFLAGS_DEFAULT, plan_slots};

}  // namespace

bool add_plan_type(PyObject* module) {
  types().plan = PyType_FromSpec(&plan_spec);
  return types().plan != nullptr && PyModule_AddObjectRef(module, "Plan", types().plan) == 0;
}

}  // namespace zvrt::python
