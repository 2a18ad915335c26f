// Properties, fields, indexes, table and query definitions.

#include <utility>

#include "db/engine/jet_types.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao {

namespace {

// Runs change on info, stores it through save, and puts info back when the
// store refuses.
template <typename Info, typename Change, typename Save>
void ChangeStored(Info& info, Change change, Save save) {
  Info before = info;
  change();
  try {
    save();
  } catch (...) {
    info = std::move(before);
    throw;
  }
}

}  // namespace

Variant CoerceToType(const Variant& value, int type) {
  if (value.IsNull() || value.IsEmpty()) return Variant::Null();
  VarType kind = jet::VarTypeOf(type);
  if (kind == VarType::kVariant) return value;
  try {
    return vb::ConvertTo(value, kind);
  } catch (const Error& error) {
    if (error.number() == err::kOverflow) Fail(e::kNumericOverflow);
    Fail(e::kConversion);
  }
}

// ---- PropertyOwner / Property ------------------------------------------------------

int PropertyOwner::BuiltInType(std::string_view) const { return kText; }

std::shared_ptr<Properties> PropertyOwner::GetProperties() {
  if (properties_) return properties_;
  std::weak_ptr<Object> weak = Self();
  PropertyOwner* owner = this;
  Properties::Hooks hooks;
  hooks.sync = [weak, owner] {
    ObjectRef self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    auto& items = owner->properties_->raw();
    items.clear();
    for (const std::string& name : owner->BuiltInNames()) {
      items.push_back(std::make_shared<Property>(owner, weak, name, true));
    }
    for (const PropertyInfo& p : owner->UserProperties()) {
      items.push_back(std::make_shared<Property>(owner, weak, p.name, false));
    }
  };
  hooks.append = [weak, owner](const std::shared_ptr<Property>& p) {
    ObjectRef self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    PropertyInfo info = p->info();
    CheckName(info.name);
    if (!IsValidFieldType(info.type)) Fail(e::kInvalidFieldType);
    info.value = CoerceToType(info.value, info.type);
    owner->StoreProperty(info);
    owner->UserProperties().push_back(info);
    p->Attach(owner, weak);
  };
  hooks.remove = [weak, owner](const std::shared_ptr<Property>& p) {
    if (!weak.lock()) Fail(e::kObjectInvalid);
    if (p->BuiltIn()) Fail(e::kInvalidOperation);
    auto& user = owner->UserProperties();
    int i = FindByName(user, p->Name());
    if (i < 0) Fail(e::kPropertyNotFound);
    owner->UnstoreProperty(user[static_cast<size_t>(i)].name);
    user.erase(user.begin() + i);
  };
  properties_ = std::make_shared<Properties>("Properties", hooks, e::kPropertyNotFound);
  return properties_;
}

std::shared_ptr<Property> PropertyOwner::CreateProperty(const Variant& name, const Variant& type,
                                                        const Variant& value) {
  PropertyInfo info;
  info.name = vb::ConcatText(name);
  info.type = type.IsMissing() ? kText : vb::CLng(type);
  info.value = value.IsMissing() ? Variant::Null() : value;
  return std::make_shared<Property>(std::move(info));
}

Variant PropertyOwner::UserProperty(std::string_view name) {
  int i = FindByName(UserProperties(), name);
  if (i < 0) Fail(e::kPropertyNotFound);
  return UserProperties()[static_cast<size_t>(i)].value;
}

Property::Property(PropertyOwner* owner, std::weak_ptr<Object> owner_ref, std::string name,
                   bool built_in)
    : owner_(owner),
      owner_ref_(std::move(owner_ref)),
      name_(std::move(name)),
      built_in_(built_in) {}

Property::Property(PropertyInfo info) : name_(info.name), info_(std::move(info)) {}

void Property::Attach(PropertyOwner* owner, std::weak_ptr<Object> owner_ref) {
  owner_ = owner;
  owner_ref_ = std::move(owner_ref);
}

PropertyOwner* Property::Owner() const {
  if (owner_ && owner_ref_.expired()) Fail(e::kObjectInvalid);
  return owner_;
}

void Property::SetName(std::string_view name) {
  if (owner_) Fail(e::kInvalidOperation);
  name_ = std::string(name);
  info_.name = name_;
}

int Property::Type() const {
  PropertyOwner* owner = Owner();
  if (!owner) return info_.type;
  if (built_in_) return owner->BuiltInType(name_);
  int i = FindByName(owner->UserProperties(), name_);
  if (i < 0) Fail(e::kPropertyNotFound);
  return owner->UserProperties()[static_cast<size_t>(i)].type;
}

void Property::SetType(int type) {
  if (owner_) Fail(e::kInvalidOperation);
  info_.type = type;
}

Variant Property::Value() const {
  PropertyOwner* owner = Owner();
  if (!owner) return info_.value;
  if (built_in_) return owner->GetBuiltIn(name_);
  return owner->UserProperty(name_);
}

void Property::SetValue(const Variant& value) {
  PropertyOwner* owner = Owner();
  if (!owner) {
    info_.value = value;
    return;
  }
  if (built_in_) {
    owner->SetBuiltIn(name_, value);
    return;
  }
  auto& user = owner->UserProperties();
  int i = FindByName(user, name_);
  if (i < 0) Fail(e::kPropertyNotFound);
  PropertyInfo changed = user[static_cast<size_t>(i)];
  changed.value = CoerceToType(value, changed.type);
  owner->StoreProperty(changed);
  user[static_cast<size_t>(i)] = changed;
}

// ---- Field -------------------------------------------------------------------------------

Field::Field(FieldInfo info) : info_(std::move(info)) {}

Field::Field(std::weak_ptr<Recordset> recordset, size_t position, FieldInfo info)
    : info_(std::move(info)), recordset_(std::move(recordset)), position_(position) {}

void Field::Attach(std::weak_ptr<TableDef> table, std::string table_name) {
  table_ = std::move(table);
  table_name_ = std::move(table_name);
}

std::shared_ptr<TableDef> Field::StoredTable() const {
  auto table = table_.lock();
  if (table && table->StoredDatabase()) return table;
  return nullptr;
}

void Field::Save(const std::string& old_name) {
  if (auto table = StoredTable()) {
    table->StoredBackend().UpdateField(table->Name(), old_name, info_);
  }
}

void Field::SetName(std::string_view name) {
  if (!recordset_.expired()) Fail(e::kInvalidOperation);
  std::string old = info_.name;
  ChangeStored(
      info_, [&] { info_.name = std::string(name); }, [&] { Save(old); });
}

void Field::SetType(int type) {
  if (StoredTable() || !recordset_.expired()) Fail(e::kInvalidOperation);
  info_.type = type;
  if (IsTextType(type) && type != kMemo) {
    if (info_.size == 0) info_.size = DefaultFieldSize(type);
  } else {
    info_.size = DefaultFieldSize(type);
  }
}

void Field::SetSize(int32_t size) {
  if (StoredTable() || !recordset_.expired()) Fail(e::kInvalidOperation);
  info_.size = size;
}

void Field::SetAttributes(int32_t attributes) {
  if (StoredTable() || !recordset_.expired()) Fail(e::kInvalidOperation);
  info_.attributes = attributes;
}

void Field::SetRequired(bool required) {
  ChangeStored(
      info_, [&] { info_.required = required; }, [&] { Save(info_.name); });
}

void Field::SetAllowZeroLength(bool allow) {
  ChangeStored(
      info_, [&] { info_.allow_zero_length = allow; }, [&] { Save(info_.name); });
}

void Field::SetDefaultValue(std::string_view value) {
  ChangeStored(
      info_, [&] { info_.default_value = std::string(value); }, [&] { Save(info_.name); });
}

void Field::SetValidationRule(std::string_view rule) {
  ChangeStored(
      info_, [&] { info_.validation_rule = std::string(rule); }, [&] { Save(info_.name); });
}

void Field::SetValidationText(std::string_view text) {
  ChangeStored(
      info_, [&] { info_.validation_text = std::string(text); }, [&] { Save(info_.name); });
}

Variant Field::Value() const {
  auto rs = recordset_.lock();
  if (!rs) Fail(e::kInvalidOperation);
  return rs->FieldValue(position_);
}

void Field::SetValue(const Variant& value) {
  auto rs = recordset_.lock();
  if (!rs) Fail(e::kInvalidOperation);
  rs->SetFieldValue(position_, value);
}

void Field::StoreProperty(const PropertyInfo& property) {
  if (auto table = StoredTable()) {
    table->StoredBackend().SaveProperty({ObjectKey::Kind::kField, table->Name(), info_.name},
                                        property);
  }
}

void Field::UnstoreProperty(std::string_view name) {
  if (auto table = StoredTable()) {
    table->StoredBackend().RemoveProperty({ObjectKey::Kind::kField, table->Name(), info_.name},
                                          name);
  }
}

std::vector<std::string> Field::BuiltInNames() const {
  std::vector<std::string> names{"Name",           "Type",
                                 "Size",           "Attributes",
                                 "Required",       "AllowZeroLength",
                                 "DefaultValue",   "ValidationRule",
                                 "ValidationText", "OrdinalPosition",
                                 "SourceTable"};
  if (!recordset_.expired()) names.push_back("Value");
  return names;
}

int Field::BuiltInType(std::string_view name) const {
  if (SameName(name, "Type") || SameName(name, "OrdinalPosition")) return kInteger;
  if (SameName(name, "Size") || SameName(name, "Attributes")) return kLong;
  if (SameName(name, "Required") || SameName(name, "AllowZeroLength")) return kBoolean;
  if (SameName(name, "Value")) return info_.type;
  return kText;
}

Variant Field::GetBuiltIn(std::string_view name) {
  if (SameName(name, "Name")) return Variant(info_.name);
  if (SameName(name, "Type")) return Int16(info_.type);
  if (SameName(name, "Size")) return Long(info_.size);
  if (SameName(name, "Attributes")) return Long(info_.attributes);
  if (SameName(name, "Required")) return Variant(info_.required);
  if (SameName(name, "AllowZeroLength")) return Variant(info_.allow_zero_length);
  if (SameName(name, "DefaultValue")) return Variant(info_.default_value);
  if (SameName(name, "ValidationRule")) return Variant(info_.validation_rule);
  if (SameName(name, "ValidationText")) return Variant(info_.validation_text);
  if (SameName(name, "OrdinalPosition")) return Int16(info_.ordinal_position);
  if (SameName(name, "SourceTable")) return Variant(table_name_);
  if (SameName(name, "Value")) return Value();
  Fail(e::kPropertyNotFound);
}

void Field::SetBuiltIn(std::string_view name, const Variant& v) {
  if (SameName(name, "Name")) return SetName(vb::ConcatText(v));
  if (SameName(name, "Type")) return SetType(vb::CInt(v));
  if (SameName(name, "Size")) return SetSize(vb::CLng(v));
  if (SameName(name, "Attributes")) return SetAttributes(vb::CLng(v));
  if (SameName(name, "Required")) return SetRequired(vb::CBool(v));
  if (SameName(name, "AllowZeroLength")) return SetAllowZeroLength(vb::CBool(v));
  if (SameName(name, "DefaultValue")) return SetDefaultValue(vb::ConcatText(v));
  if (SameName(name, "ValidationRule")) return SetValidationRule(vb::ConcatText(v));
  if (SameName(name, "ValidationText")) return SetValidationText(vb::ConcatText(v));
  if (SameName(name, "Value")) return SetValue(v);
  Fail(e::kInvalidOperation);
}

// ---- Index ----------------------------------------------------------------------------------

Index::Index(std::string name) { info_.name = std::move(name); }

std::shared_ptr<Fields> Index::GetFields() {
  if (fields_) return fields_;
  std::weak_ptr<Index> weak = weak_from_this();
  Fields::Hooks hooks;
  hooks.append = [weak](const std::shared_ptr<Field>& field) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    self->CheckChangeable();
    CheckName(field->Name());
    field->set_in_index(true);
  };
  hooks.remove = [weak](const std::shared_ptr<Field>&) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    self->CheckChangeable();
  };
  fields_ = std::make_shared<Fields>("Fields", hooks, e::kItemNotFound, e::kFieldExists);
  return fields_;
}

std::shared_ptr<Field> Index::CreateField(const Variant& name, const Variant& type,
                                          const Variant& size) {
  FieldInfo info;
  info.name = vb::ConcatText(name);
  info.type = type.IsMissing() || type.IsNull() ? kText : vb::CInt(type);
  info.size = size.IsMissing() || size.IsNull() ? 0 : vb::CLng(size);
  info.attributes = 0;
  return std::make_shared<Field>(std::move(info));
}

void Index::CheckChangeable() const {
  if (stored_) Fail(e::kInvalidOperation);
}

void Index::SetName(std::string_view name) {
  CheckChangeable();
  info_.name = std::string(name);
}
void Index::SetPrimary(bool primary) {
  CheckChangeable();
  info_.primary = primary;
}
void Index::SetUnique(bool unique) {
  CheckChangeable();
  info_.unique = unique;
}
void Index::SetIgnoreNulls(bool ignore) {
  CheckChangeable();
  info_.ignore_nulls = ignore;
}

IndexInfo Index::Info() {
  IndexInfo info = info_;
  info.fields.clear();
  for (const auto& f : GetFields()->raw()) {
    info.fields.push_back({f->Name(), f->Attributes() & kDescending});
  }
  return info;
}

void Index::Load(const IndexInfo& info) {
  info_ = info;
  auto& items = GetFields()->raw();
  items.clear();
  for (const IndexFieldInfo& f : info.fields) {
    FieldInfo field;
    field.name = f.name;
    field.attributes = f.attributes;
    auto item = std::make_shared<Field>(field);
    item->set_in_index(true);
    items.push_back(item);
  }
}

void Index::MarkStored(std::weak_ptr<TableDef> table) {
  table_ = std::move(table);
  stored_ = true;
}

void Index::StoreProperty(const PropertyInfo& property) {
  auto table = table_.lock();
  if (stored_ && table && table->StoredDatabase()) {
    table->StoredBackend().SaveProperty({ObjectKey::Kind::kIndex, table->Name(), info_.name},
                                        property);
  }
}

void Index::UnstoreProperty(std::string_view name) {
  auto table = table_.lock();
  if (stored_ && table && table->StoredDatabase()) {
    table->StoredBackend().RemoveProperty({ObjectKey::Kind::kIndex, table->Name(), info_.name},
                                          name);
  }
}

std::vector<std::string> Index::BuiltInNames() const {
  return {"Name", "Primary", "Unique", "IgnoreNulls", "Required", "Foreign", "Clustered"};
}

int Index::BuiltInType(std::string_view name) const {
  return SameName(name, "Name") ? kText : kBoolean;
}

Variant Index::GetBuiltIn(std::string_view name) {
  if (SameName(name, "Name")) return Variant(info_.name);
  if (SameName(name, "Primary")) return Variant(info_.primary);
  if (SameName(name, "Unique")) return Variant(info_.unique);
  if (SameName(name, "IgnoreNulls")) return Variant(info_.ignore_nulls);
  if (SameName(name, "Required")) return Variant(info_.primary);
  if (SameName(name, "Foreign") || SameName(name, "Clustered")) return Variant(false);
  Fail(e::kPropertyNotFound);
}

void Index::SetBuiltIn(std::string_view name, const Variant& v) {
  if (SameName(name, "Name")) return SetName(vb::ConcatText(v));
  if (SameName(name, "Primary")) return SetPrimary(vb::CBool(v));
  if (SameName(name, "Unique")) return SetUnique(vb::CBool(v));
  if (SameName(name, "IgnoreNulls")) return SetIgnoreNulls(vb::CBool(v));
  Fail(e::kInvalidOperation);
}

// ---- TableDef ----------------------------------------------------------------------------------

TableDef::TableDef(std::string name, int32_t attributes, std::string source_table,
                   std::string connect) {
  info_.name = std::move(name);
  info_.attributes = attributes;
  info_.source_table_name = std::move(source_table);
  info_.connect = std::move(connect);
  // Until the table is stored its collections only check names.
  Fields::Hooks field_hooks;
  field_hooks.append = [](const std::shared_ptr<Field>& field) {
    CheckName(field->Name());
    if (!IsValidFieldType(field->Type())) Fail(e::kInvalidFieldType);
  };
  Indexes::Hooks index_hooks;
  index_hooks.append = [](const std::shared_ptr<Index>& index) {
    CheckName(index->Name());
    if (index->GetFields()->raw().empty()) Fail(e::kNoFieldDefined);
  };
  fields_ = std::make_shared<Fields>("Fields", field_hooks, e::kItemNotFound, e::kFieldExists);
  indexes_ = std::make_shared<Indexes>("Indexes", index_hooks, e::kItemNotFound, e::kIndexExists);
}

std::shared_ptr<Database> TableDef::StoredDatabase() const { return db_.lock(); }

Backend& TableDef::StoredBackend() const {
  auto db = db_.lock();
  if (!db) Fail(e::kInvalidOperation);
  return db->backend();
}

TableInfo TableDef::Info() {
  TableInfo info = info_;
  info.fields.clear();
  info.indexes.clear();
  for (const auto& f : fields_->raw()) info.fields.push_back(f->info());
  for (const auto& ix : indexes_->raw()) info.indexes.push_back(ix->Info());
  return info;
}

void TableDef::Load(const TableInfo& info, std::weak_ptr<Database> db) {
  db_ = std::move(db);
  std::weak_ptr<TableDef> weak = weak_from_this();
  info_ = info;
  info_.fields.clear();
  info_.indexes.clear();
  // Keep the objects callers hold: reuse them by name.
  std::vector<std::shared_ptr<Field>> fields;
  for (const FieldInfo& f : info.fields) {
    auto field = fields_->FindLoaded(f.name);
    if (field) {
      field->mutable_info() = f;
    } else {
      field = std::make_shared<Field>(f);
    }
    field->Attach(weak, info.name);
    fields.push_back(field);
  }
  fields_->raw() = std::move(fields);
  std::vector<std::shared_ptr<Index>> indexes;
  for (const IndexInfo& ix : info.indexes) {
    auto index = indexes_->FindLoaded(ix.name);
    if (!index) index = std::make_shared<Index>(ix.name);
    index->Load(ix);
    index->MarkStored(weak);
    indexes.push_back(index);
  }
  indexes_->raw() = std::move(indexes);
  if (stored_hooks_) return;
  stored_hooks_ = true;

  // From now on the collections change the stored table.
  Fields::Hooks field_hooks;
  field_hooks.append = [weak](const std::shared_ptr<Field>& field) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    Backend& backend = self->StoredBackend();
    backend.AddField(self->Name(), field->info());
    self->Load(backend.ReadTable(self->Name()), self->db_);
  };
  field_hooks.remove = [weak](const std::shared_ptr<Field>& field) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    Backend& backend = self->StoredBackend();
    backend.DropField(self->Name(), field->Name());
    field->Detach();
    self->Load(backend.ReadTable(self->Name()), self->db_);
  };
  Indexes::Hooks index_hooks;
  index_hooks.append = [weak](const std::shared_ptr<Index>& index) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    Backend& backend = self->StoredBackend();
    backend.CreateIndex(self->Name(), index->Info());
    self->Load(backend.ReadTable(self->Name()), self->db_);
  };
  index_hooks.remove = [weak](const std::shared_ptr<Index>& index) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    Backend& backend = self->StoredBackend();
    backend.DropIndex(self->Name(), index->Name());
    self->Load(backend.ReadTable(self->Name()), self->db_);
  };
  fields_->SetHooks(field_hooks);
  indexes_->SetHooks(index_hooks);
}

std::shared_ptr<Field> TableDef::CreateField(const Variant& name, const Variant& type,
                                             const Variant& size) {
  FieldInfo info;
  info.name = vb::ConcatText(name);
  info.type = type.IsMissing() || type.IsNull() ? kText : vb::CInt(type);
  info.size = size.IsMissing() || size.IsNull() ? 0 : vb::CLng(size);
  if (info.size == 0) info.size = DefaultFieldSize(info.type);
  info.attributes = IsTextType(info.type) ? kVariableField : kFixedField;
  info.attributes |= kUpdatableField;
  return std::make_shared<Field>(std::move(info));
}

std::shared_ptr<Index> TableDef::CreateIndex(const Variant& name) {
  return std::make_shared<Index>(vb::ConcatText(name));
}

std::shared_ptr<Recordset> TableDef::OpenRecordset(const Variant& type, const Variant& options) {
  auto db = db_.lock();
  if (!db) Fail(e::kInvalidOperation);
  return db->OpenRecordset(info_.name, type, options);
}

int32_t TableDef::RecordCount() {
  if (!db_.lock()) return 0;
  return static_cast<int32_t>(StoredBackend().OpenTable(info_.name, kOpenTable, 0)->Count());
}

bool TableDef::Updatable() const {
  auto db = db_.lock();
  return !db || db->Updatable();
}

void TableDef::SaveTableLevel(const std::string& old_name) {
  if (!db_.lock()) return;
  StoredBackend().UpdateTable(old_name, Info());
}

void TableDef::SetName(std::string_view name) {
  std::string old = info_.name;
  ChangeStored(
      info_, [&] { info_.name = std::string(name); }, [&] { SaveTableLevel(old); });
  for (const auto& f : fields_->raw()) f->Attach(weak_from_this(), info_.name);
}

void TableDef::SetAttributes(int32_t attributes) {
  ChangeStored(
      info_, [&] { info_.attributes = attributes; }, [&] { SaveTableLevel(info_.name); });
}

void TableDef::SetValidationRule(std::string_view rule) {
  ChangeStored(
      info_, [&] { info_.validation_rule = std::string(rule); },
      [&] { SaveTableLevel(info_.name); });
}

void TableDef::SetValidationText(std::string_view text) {
  ChangeStored(
      info_, [&] { info_.validation_text = std::string(text); },
      [&] { SaveTableLevel(info_.name); });
}

void TableDef::StoreProperty(const PropertyInfo& property) {
  if (db_.lock()) StoredBackend().SaveProperty({ObjectKey::Kind::kTable, info_.name, ""}, property);
}

void TableDef::UnstoreProperty(std::string_view name) {
  if (db_.lock()) StoredBackend().RemoveProperty({ObjectKey::Kind::kTable, info_.name, ""}, name);
}

std::vector<std::string> TableDef::BuiltInNames() const {
  return {"Name",    "Attributes",      "ValidationRule", "ValidationText",
          "Connect", "SourceTableName", "RecordCount",    "Updatable"};
}

int TableDef::BuiltInType(std::string_view name) const {
  if (SameName(name, "Attributes") || SameName(name, "RecordCount")) return kLong;
  if (SameName(name, "Updatable")) return kBoolean;
  return kText;
}

Variant TableDef::GetBuiltIn(std::string_view name) {
  if (SameName(name, "Name")) return Variant(info_.name);
  if (SameName(name, "Attributes")) return Long(info_.attributes);
  if (SameName(name, "ValidationRule")) return Variant(info_.validation_rule);
  if (SameName(name, "ValidationText")) return Variant(info_.validation_text);
  if (SameName(name, "Connect")) return Variant(info_.connect);
  if (SameName(name, "SourceTableName")) return Variant(info_.source_table_name);
  if (SameName(name, "RecordCount")) return Long(RecordCount());
  if (SameName(name, "Updatable")) return Variant(Updatable());
  Fail(e::kPropertyNotFound);
}

void TableDef::SetBuiltIn(std::string_view name, const Variant& v) {
  if (SameName(name, "Name")) return SetName(vb::ConcatText(v));
  if (SameName(name, "Attributes")) return SetAttributes(vb::CLng(v));
  if (SameName(name, "ValidationRule")) return SetValidationRule(vb::ConcatText(v));
  if (SameName(name, "ValidationText")) return SetValidationText(vb::ConcatText(v));
  Fail(e::kInvalidOperation);
}

// ---- QueryDef
// ------------------------------------------------------------------------------------

QueryDef::QueryDef(std::string name, std::string sql) {
  info_.name = std::move(name);
  info_.sql = std::move(sql);
}

std::shared_ptr<Database> QueryDef::Db() const {
  auto db = db_.lock();
  if (!db) Fail(e::kObjectInvalid);
  return db;
}

void QueryDef::Load(const QueryInfo& info, std::weak_ptr<Database> db) {
  info_ = info;
  db_ = std::move(db);
  stored_ = true;
}

void QueryDef::SetName(std::string_view name) {
  if (!stored_) {
    info_.name = std::string(name);
    return;
  }
  QueryInfo renamed = info_;
  renamed.name = std::string(name);
  Backend& backend = Db()->backend();
  backend.SaveQuery(renamed);
  backend.DropQuery(info_.name);
  info_.name = renamed.name;
}

void QueryDef::SetSQL(std::string_view sql) {
  ChangeStored(
      info_, [&] { info_.sql = std::string(sql); },
      [&] {
        if (stored_) Db()->backend().SaveQuery(info_);
      });
}

void QueryDef::Execute(const Variant& options) {
  int32_t opts = options.IsMissing() ? 0 : vb::CLng(options);
  records_affected_ = Db()->ExecuteCounted(info_.sql, opts);
}

std::shared_ptr<Recordset> QueryDef::OpenRecordset(const Variant& type, const Variant& options) {
  return Db()->OpenRecordset(info_.sql, type, options);
}

void QueryDef::StoreProperty(const PropertyInfo& property) {
  if (stored_) Db()->backend().SaveProperty({ObjectKey::Kind::kQuery, info_.name, ""}, property);
}

void QueryDef::UnstoreProperty(std::string_view name) {
  if (stored_) Db()->backend().RemoveProperty({ObjectKey::Kind::kQuery, info_.name, ""}, name);
}

std::vector<std::string> QueryDef::BuiltInNames() const {
  return {"Name", "SQL", "Type", "RecordsAffected", "Updatable"};
}

Variant QueryDef::GetBuiltIn(std::string_view name) {
  if (SameName(name, "Name")) return Variant(info_.name);
  if (SameName(name, "SQL")) return Variant(info_.sql);
  if (SameName(name, "Type")) return Int16(0);
  if (SameName(name, "RecordsAffected")) return Long(records_affected_);
  if (SameName(name, "Updatable")) return Variant(true);
  Fail(e::kPropertyNotFound);
}

void QueryDef::SetBuiltIn(std::string_view name, const Variant& v) {
  if (SameName(name, "Name")) return SetName(vb::ConcatText(v));
  if (SameName(name, "SQL")) return SetSQL(vb::ConcatText(v));
  Fail(e::kInvalidOperation);
}

}  // namespace qor::dao
