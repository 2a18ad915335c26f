// The engine's collections: TableDefs, QueryDefs, Fields, Indexes and
// Properties.
//
// A collection holds its items in order and finds them by name (without
// regard to case) or by 0-based position. A name or position that is not
// there raises 3265 (3270 for Properties). Appending and deleting run the
// owner's hooks, which change the database when the owner is stored in one;
// a hook that fails leaves the collection as it was. A collection whose
// owner reads from a database is brought up to date by its sync hook before
// every use, so it shows what other connections did.
#ifndef QOR_DB_ENGINE_COLLECTION_H_
#define QOR_DB_ENGINE_COLLECTION_H_

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/variant.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao {

// What every collection offers a late-bound caller.
class CollectionBase : public Object {
 public:
  virtual int32_t Count() = 0;
  virtual ObjectRef ItemObject(const Variant& index) = 0;
  virtual void AppendObject(const ObjectRef& item) = 0;
  virtual void Delete(std::string_view name) = 0;
  virtual void Refresh() = 0;
};

template <typename T>
class Collection : public CollectionBase {
 public:
  using Ptr = std::shared_ptr<T>;
  struct Hooks {
    std::function<void()> sync;              // brings items_ up to date
    std::function<void(const Ptr&)> append;  // before the item is added
    std::function<void(const Ptr&)> remove;  // before the item is removed
  };

  // missing_error: raised for a name or position not there; duplicate_error:
  // for appending a name that is there (filled with the name).
  Collection(std::string class_name, Hooks hooks, int32_t missing_error = e::kItemNotFound,
             int32_t duplicate_error = e::kAlreadyInCollection)
      : class_name_(std::move(class_name)),
        hooks_(std::move(hooks)),
        missing_error_(missing_error),
        duplicate_error_(duplicate_error) {}

  void SetHooks(Hooks hooks) { hooks_ = std::move(hooks); }

  std::string_view ClassName() const override { return class_name_; }

  int32_t Count() override {
    Sync();
    return static_cast<int32_t>(items_.size());
  }

  // By name (a text) or by 0-based position (a number).
  Ptr Item(const Variant& index) {
    Sync();
    if (index.IsString()) {
      if (Ptr found = FindLoaded(index.AsString())) return found;
      Fail(missing_error_);
    }
    double position = index.IsNumber() ? index.NumericValue() : -1;
    if (position < 0 || position >= static_cast<double>(items_.size())) Fail(missing_error_);
    return items_[static_cast<size_t>(position)];
  }
  Ptr Item(std::string_view name) { return Item(Variant(name)); }
  Ptr Item(const char* name) { return Item(Variant(name)); }

  // The item named name, or null; the collection is brought up to date
  // first, like every other use.
  Ptr Find(std::string_view name) {
    Sync();
    return FindLoaded(name);
  }

  // For owners that are bringing the items up to date themselves: the item
  // named name among those held now, or null.
  Ptr FindLoaded(std::string_view name) const {
    for (const Ptr& item : items_) {
      if (SameName(item->Name(), name)) return item;
    }
    return nullptr;
  }

  const std::vector<Ptr>& items() {
    Sync();
    return items_;
  }

  void Append(const Ptr& item) {
    if (!item) Raise(err::kObjectNotSet);
    Sync();
    if (FindLoaded(item->Name())) Fail(duplicate_error_, {item->Name()});
    // The item is in place while the hook runs (a hook may reload the
    // items and keep the objects it finds), and goes when the hook fails.
    items_.push_back(item);
    if (!hooks_.append) return;
    try {
      hooks_.append(item);
    } catch (...) {
      std::erase(items_, item);
      throw;
    }
    if (std::find(items_.begin(), items_.end(), item) == items_.end()) items_.push_back(item);
  }

  void Delete(std::string_view name) override {
    Sync();
    for (size_t i = 0; i < items_.size(); ++i) {
      if (!SameName(items_[i]->Name(), name)) continue;
      Ptr item = items_[i];
      if (hooks_.remove) hooks_.remove(item);
      for (size_t k = 0; k < items_.size(); ++k) {
        if (items_[k] == item) {
          items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(k));
          break;
        }
      }
      return;
    }
    Fail(missing_error_);
  }

  void Refresh() override { Sync(); }

  ObjectRef ItemObject(const Variant& index) override { return Item(index); }
  void AppendObject(const ObjectRef& item) override {
    auto typed = std::dynamic_pointer_cast<T>(item);
    if (!typed) Raise(err::kTypeMismatch);
    Append(typed);
  }

  // For owners: the items without syncing.
  std::vector<Ptr>& raw() { return items_; }

 private:
  void Sync() {
    if (hooks_.sync) hooks_.sync();
  }

  std::string class_name_;
  Hooks hooks_;
  int32_t missing_error_;
  int32_t duplicate_error_;
  std::vector<Ptr> items_;
};

}  // namespace qor::dao

#endif  // QOR_DB_ENGINE_COLLECTION_H_
