#include "db/schema_copy.h"

#include "qorsupport/frame/variant.h"

namespace qor::db {

std::shared_ptr<dao::Field> NewFieldLike(dao::Field& source, dao::TableDef& table) {
  auto field = table.CreateField(Variant(source.Name()), Variant(int16_t(source.Type())),
                                 Long(source.Size()));
  field->SetAttributes(source.Attributes());
  field->SetRequired(source.Required());
  if (source.Type() == dao::kText || source.Type() == dao::kMemo) {
    field->SetAllowZeroLength(source.AllowZeroLength());
  }
  return field;
}

std::shared_ptr<dao::Index> NewIndexLike(dao::Index& source, dao::TableDef& table) {
  auto index = table.CreateIndex(Variant(source.Name()));
  for (const auto& source_field : source.GetFields()->items()) {
    auto field = index->CreateField(Variant(source_field->Name()));
    field->SetAttributes(source_field->Attributes());
    index->GetFields()->Append(field);
  }
  index->SetPrimary(source.Primary());
  index->SetUnique(source.Unique());
  index->SetIgnoreNulls(source.IgnoreNulls());
  return index;
}

}  // namespace qor::db
