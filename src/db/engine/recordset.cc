// Recordsets: navigation, finding, and the AddNew/Edit/Update cycle.

#include <cstdlib>

#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao {

Recordset::Recordset(std::weak_ptr<Database> db, std::unique_ptr<Cursor> cursor, std::string name,
                     int type)
    : db_(std::move(db)), cursor_(std::move(cursor)), name_(std::move(name)), type_(type) {}

Recordset::~Recordset() = default;

Cursor& Recordset::Unplaced() const {
  if (!cursor_) Fail(e::kObjectInvalid);
  return *cursor_;
}

Cursor& Recordset::Cur() const {
  Cursor& c = Unplaced();
  if (!placed_) {
    bof_ = eof_ = !c.First();
    placed_ = true;
  }
  return c;
}

bool Recordset::Updatable() const { return Unplaced().updatable(); }

bool Recordset::Bof() const {
  Cur();
  return bof_;
}

bool Recordset::Eof() const {
  Cur();
  return eof_;
}

bool Recordset::NoMatch() const {
  Cur();
  return no_match_;
}

int32_t Recordset::RecordCount() { return static_cast<int32_t>(Unplaced().Count()); }

void Recordset::Positioned(bool found) {
  bof_ = eof_ = !found;
  placed_ = true;
}

void Recordset::EndEdit() {
  if (cursor_) cursor_->UnlockRow();
  mode_ = EditMode::kNone;
  buffer_.clear();
  original_.clear();
}

void Recordset::MoveFirst() {
  Cursor& c = Unplaced();
  EndEdit();
  if (!c.First()) {
    Positioned(false);
    Fail(e::kNoCurrentRecord);
  }
  Positioned(true);
}

void Recordset::MoveLast() {
  Cursor& c = Unplaced();
  EndEdit();
  if (!c.Last()) {
    Positioned(false);
    Fail(e::kNoCurrentRecord);
  }
  Positioned(true);
}

void Recordset::MoveNext() {
  Cursor& c = Cur();
  if (eof_) Fail(e::kNoCurrentRecord);
  EndEdit();
  bool found = bof_ ? c.First() : c.Next();
  if (found) {
    bof_ = eof_ = false;
  } else {
    eof_ = true;
    bof_ = c.Count() == 0;
  }
}

void Recordset::MovePrevious() {
  Cursor& c = Cur();
  if (bof_) Fail(e::kNoCurrentRecord);
  EndEdit();
  bool found = eof_ ? c.Last() : c.Previous();
  if (found) {
    bof_ = eof_ = false;
  } else {
    bof_ = true;
    eof_ = c.Count() == 0;
  }
}

void Recordset::Move(int32_t rows) {
  for (int32_t i = 0; i < rows; ++i) MoveNext();
  for (int32_t i = 0; i > rows; --i) MovePrevious();
}

void Recordset::Find(std::string_view criteria, Cursor::Direction direction) {
  // FindFirst and FindLast do not start from the current record; when one
  // fails, the recordset stays where it was (unplaced, if it was).
  const bool from_current =
      direction == Cursor::Direction::kNext || direction == Cursor::Direction::kPrevious;
  Cursor& c = from_current ? Cur() : Unplaced();
  EndEdit();
  if (direction == Cursor::Direction::kNext && bof_) direction = Cursor::Direction::kFirst;
  if (direction == Cursor::Direction::kPrevious && eof_) direction = Cursor::Direction::kLast;
  bool found = c.Find(criteria, direction);
  no_match_ = !found;
  if (found) Positioned(true);
}

void Recordset::FindFirst(std::string_view criteria) { Find(criteria, Cursor::Direction::kFirst); }
void Recordset::FindLast(std::string_view criteria) { Find(criteria, Cursor::Direction::kLast); }
void Recordset::FindNext(std::string_view criteria) { Find(criteria, Cursor::Direction::kNext); }
void Recordset::FindPrevious(std::string_view criteria) {
  Find(criteria, Cursor::Direction::kPrevious);
}

void Recordset::AddNew() {
  Cursor& c = Unplaced();
  if (!c.updatable()) Fail(e::kReadOnly);
  EndEdit();
  const auto& fields = c.fields();
  buffer_.assign(fields.size(), std::nullopt);
  // The new record shows its fields' default values, as in DAO.
  if (auto db = db_.lock(); db && db->IsOpen()) {
    for (size_t i = 0; i < fields.size(); ++i) {
      if (fields[i].default_value.empty() || (fields[i].attributes & kAutoIncrField)) continue;
      try {
        buffer_[i] = db->backend().Evaluate(fields[i].default_value, fields[i].type);
      } catch (const Error&) {
        // A default the engine cannot evaluate is left to the table's own.
      }
    }
  }
  mode_ = EditMode::kAdd;
}

void Recordset::Edit() {
  Cursor& c = Cur();
  if (!c.updatable()) Fail(e::kReadOnly);
  if (bof_ || eof_) Fail(e::kNoCurrentRecord);
  EndEdit();
  original_ = c.Row();
  c.LockRow();
  buffer_.assign(c.fields().size(), std::nullopt);
  mode_ = EditMode::kEdit;
}

void Recordset::Update() {
  Cursor& c = Unplaced();  // a new record needs no position; Edit placed it
  if (mode_ == EditMode::kNone) Fail(e::kUpdateWithoutEdit);
  if (mode_ == EditMode::kAdd) {
    last_modified_ = c.Insert(buffer_);
    EndEdit();
    return;
  }
  // Someone else may have changed the record since Edit (by a statement,
  // which does not honour record locks).
  if (!c.Reload()) {
    EndEdit();
    Fail(e::kRecordDeleted);
  }
  if (!(c.Row() == original_)) {
    EndEdit();
    Fail(e::kChangedByOther);
  }
  c.Update(buffer_);
  last_modified_ = c.CurrentBookmark();
  EndEdit();
}

void Recordset::CancelUpdate() {
  Unplaced();
  if (mode_ == EditMode::kNone) Fail(e::kUpdateWithoutEdit);
  EndEdit();
}

void Recordset::Delete() {
  Cursor& c = Cur();
  if (!c.updatable()) Fail(e::kReadOnly);
  if (bof_ || eof_) Fail(e::kNoCurrentRecord);
  EndEdit();
  c.Delete();
}

void Recordset::Close() {
  if (!cursor_) Fail(e::kObjectInvalid);
  Invalidate();
}

void Recordset::Invalidate() {
  EndEdit();
  cursor_.reset();
}

std::string Recordset::Bookmark() const {
  Cursor& c = Cur();
  if (bof_ || eof_) Fail(e::kNoCurrentRecord);
  return std::to_string(c.CurrentBookmark());
}

void Recordset::SetBookmark(std::string_view bookmark) {
  Cursor& c = Unplaced();
  char* end = nullptr;
  std::string text(bookmark);
  long long key = std::strtoll(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || !c.GoTo(key)) Fail(e::kNotValidBookmark);
  EndEdit();
  Positioned(true);
}

std::string Recordset::LastModified() const {
  Unplaced();
  if (!last_modified_) Fail(e::kNoCurrentRecord);
  return std::to_string(*last_modified_);
}

std::shared_ptr<Fields> Recordset::GetFields() {
  Cursor& c = Unplaced();
  // Made on first use: a recordset read by name (Value, SetValue) needs none.
  if (!fields_) {
    auto refuse = [](const std::shared_ptr<Field>&) { Fail(e::kNotSupported); };
    fields_ = std::make_shared<Fields>("Fields", Fields::Hooks{nullptr, refuse, refuse});
  }
  if (fields_->raw().empty() && !c.fields().empty()) {
    std::weak_ptr<Recordset> weak = weak_from_this();
    for (size_t i = 0; i < c.fields().size(); ++i) {
      fields_->raw().push_back(std::make_shared<Field>(weak, i, c.fields()[i]));
    }
  }
  return fields_;
}

size_t Recordset::Position(std::string_view field) const {
  int position = FindByName(Unplaced().fields(), field);
  if (position < 0) Fail(e::kItemNotFound);
  return static_cast<size_t>(position);
}

Variant Recordset::Value(std::string_view field) const {
  if (mode_ != EditMode::kAdd) Cur();
  return FieldValue(Position(field));
}

void Recordset::SetValue(std::string_view field, const Variant& value) {
  SetFieldValue(Position(field), value);
}

int Recordset::FieldType(std::string_view field) const {
  return Unplaced().fields()[Position(field)].type;
}

Variant Recordset::FieldValue(size_t position) const {
  Cursor& c = mode_ == EditMode::kAdd ? Unplaced() : Cur();
  if (mode_ == EditMode::kAdd) {
    return buffer_[position] ? *buffer_[position] : Variant::Null();
  }
  if (mode_ == EditMode::kEdit && buffer_[position]) return *buffer_[position];
  if (bof_ || eof_) Fail(e::kNoCurrentRecord);
  return c.Row()[position];
}

void Recordset::SetFieldValue(size_t position, const Variant& value) {
  Cursor& c = Unplaced();
  if (mode_ == EditMode::kNone) Fail(e::kUpdateWithoutEdit);
  const FieldInfo& field = c.fields()[position];
  if (mode_ == EditMode::kEdit && (field.attributes & kAutoIncrField)) {
    Fail(e::kFieldNotUpdatable);
  }
  Variant stored = CoerceToType(value, field.type);
  if ((field.type == kText || field.type == kChar) && field.size > 0 && stored.IsString() &&
      vb::Len(stored.AsString()) > field.size) {
    Fail(e::kFieldTooSmall);
  }
  buffer_[position] = std::move(stored);
}

}  // namespace qor::dao
