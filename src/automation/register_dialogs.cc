// Late-bound registration of qorForms, qorList and qorPickList.

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/dialogs/forms.h"
#include "qorsupport/dialogs/list.h"
#include "qorsupport/dialogs/pick_list.h"
#include "qorsupport/frame/vb.h"

namespace qor::automation {

namespace {

// The pick list's view of the engine's recordsets and databases.
class EnginePickRecordset : public PickRecordset {
 public:
  explicit EnginePickRecordset(std::shared_ptr<dao::Recordset> rs) : rs_(std::move(rs)) {}
  bool Bof() override { return rs_->Bof(); }
  bool Eof() override { return rs_->Eof(); }
  void MoveFirst() override { rs_->MoveFirst(); }
  void MoveNext() override { rs_->MoveNext(); }
  Variant Field(const std::string& name) override { return rs_->Value(name); }
  void Close() override { rs_->Close(); }

 private:
  std::shared_ptr<dao::Recordset> rs_;
};

class EnginePickDatabase : public PickDatabase {
 public:
  explicit EnginePickDatabase(std::shared_ptr<dao::Database> db) : db_(std::move(db)) {}
  std::unique_ptr<PickRecordset> OpenRecordset(const std::string& source) override {
    return std::make_unique<EnginePickRecordset>(db_->OpenRecordset(source));
  }

 private:
  std::shared_ptr<dao::Database> db_;
};

// The three message parts every box method takes.
std::vector<Param> Parts() {
  return {Req("pMsg1", VarType::kString), Opt("pMsg2", VarType::kString, Variant("")),
          Opt("pMsg3", VarType::kString, Variant(""))};
}

std::vector<Param> MenuParams() {
  std::vector<Param> params;
  for (int i = 1; i <= 13; ++i) {
    params.push_back(Opt((i < 10 ? "MenuLabel0" : "MenuLabel") + std::to_string(i),
                         VarType::kString, Variant("")));
  }
  for (const char* name : {"Heading1", "Heading2", "TitleBar"}) {
    params.push_back(Opt(name, VarType::kString, Variant("")));
  }
  return params;
}

int16_t CallMenuForm(qorForms& f, Args& a) {
  std::array<std::string, 13> labels;
  for (size_t i = 0; i < labels.size(); ++i) labels[i] = a.Str(i);
  return f.MenuForm(labels, a.Str(13), a.Str(14), a.Str(15));
}

void RegisterList(Registry& registry) {
  using V = VarType;
  ClassBuilder<qorList>(registry, "qorList")
      .Sub("Init", {}, [](qorList& l, Args&) { l.Init(); })
      .Sub("Cancel", {}, [](qorList& l, Args&) { l.Cancel(); })
      .Sub("AddItem",
           {Opt("pName", V::kString, Variant("")), Opt("pData", V::kVariant),
            Opt("pSort", V::kVariant)},
           [](qorList& l, Args& a) { l.AddItem(a.Str(0), a[1], a[2]); })
      .Method("Display", {Opt("pModal", V::kBoolean, Variant(true))},
              [](qorList& l, Args& a) { return Variant(l.Display(a.Bool(0))); })
      .Method("DisplayMultiSelect", {ArrayRef("pArray"), Opt("pModal", V::kBoolean, Variant(true))},
              [](qorList& l, Args& a) { return Variant(l.DisplayMultiSelect(a[0], a.Bool(1))); })
      .Property(
          "UseFixedWidthFont", V::kBoolean,
          [](qorList& l) { return Variant(l.UseFixedWidthFont()); },
          [](qorList& l, const Variant& v) { l.SetUseFixedWidthFont(v.AsBoolean()); })
      .Property(
          "Sorted", V::kInteger, [](qorList& l) { return Variant(l.Sorted()); },
          [](qorList& l, const Variant& v) { l.SetSorted(vb::CInt(v)); })
      .Property("BigFlag", V::kBoolean, nullptr,
                [](qorList& l, const Variant& v) { l.SetBigFlag(v.AsBoolean()); })
      .Property(
          "Title", V::kString, [](qorList& l) { return Variant(l.Title()); },
          [](qorList& l, const Variant& v) { l.SetTitle(v.AsString()); })
      .Property("SelectedIndex", V::kLong, [](qorList& l) { return Variant(l.SelectedIndex()); })
      .Property("SelectedData", V::kVariant, [](qorList& l) { return l.SelectedData(); })
      .Property("SelectedText", V::kVariant, [](qorList& l) { return l.SelectedText(); });

  // pDb is a database object of the engine (anything that reads as a
  // PickDatabase); another object is a type mismatch.
  ClassBuilder<qorPickList>(registry, "qorPickList")
      .Method("GetPickList",
              {Ref("pDb", V::kObject), Req("pQry", V::kString), Req("pDisplayField", V::kString),
               Ref("pKeyField", V::kString), Opt("Verbose", V::kBoolean, Variant(false))},
              [](qorPickList& p, Args& a) {
                const ObjectRef& ref = a[0].AsObject();
                if (!ref) Raise(err::kObjectNotSet);
                std::string key = a.Str(3);
                if (auto* pick = dynamic_cast<PickDatabase*>(ref.get())) {
                  return p.GetPickList(*pick, a.Str(1), a.Str(2), key, a.Bool(4));
                }
                auto db = std::dynamic_pointer_cast<dao::Database>(ref);
                if (!db) Raise(err::kTypeMismatch);
                EnginePickDatabase engine_db(std::move(db));
                return p.GetPickList(engine_db, a.Str(1), a.Str(2), key, a.Bool(4));
              });
}

}  // namespace

void RegisterDialogClasses(Registry& registry) {
  using V = VarType;
  std::vector<Param> grunt = Parts();
  grunt.push_back(Opt("pButtonType", V::kInteger, Int16(0)));
  grunt.push_back(Opt("pIconType", V::kInteger, Int16(0)));
  grunt.push_back(Opt("pDefaultButton", V::kInteger, Int16(0)));

  ClassBuilder<qorForms>(registry, "qorForms")
      .Sub("SetAppName", {Req("pAppName")}, [](qorForms& f, Args& a) { f.SetAppName(a[0]); })
      .Method("InputForm", {Req("pMsg", V::kString), Opt("pDefault", V::kString, Variant(""))},
              [](qorForms& f, Args& a) { return f.InputForm(a.Str(0), a.Str(1)); })
      .Method("MsgYN", Parts(),
              [](qorForms& f, Args& a) { return Variant(f.MsgYN(a.Str(0), a.Str(1), a.Str(2))); })
      .Method(
          "MsgYNCancel", Parts(),
          [](qorForms& f, Args& a) { return Variant(f.MsgYNCancel(a.Str(0), a.Str(1), a.Str(2))); })
      .Method(
          "MsgOkCancel", Parts(),
          [](qorForms& f, Args& a) { return Variant(f.MsgOkCancel(a.Str(0), a.Str(1), a.Str(2))); })
      .Method("CheckOk", {Opt("pMsg1", V::kString, Variant(""))},
              [](qorForms& f, Args& a) { return Variant(f.CheckOk(a.Str(0))); })
      .Method(
          "MsgGrunt", grunt,
          [](qorForms& f, Args& a) {
            return Variant(f.MsgGrunt(a.Str(0), a.Str(1), a.Str(2), a.Int(3), a.Int(4), a.Int(5)));
          })
      .Method(
          "AlertCancel", Parts(),
          [](qorForms& f, Args& a) { return Variant(f.AlertCancel(a.Str(0), a.Str(1), a.Str(2))); })
      .Sub("AlertCritical", Parts(),
           [](qorForms& f, Args& a) { f.AlertCritical(a.Str(0), a.Str(1), a.Str(2)); })
      .Method(
          "AlertRetry", Parts(),
          [](qorForms& f, Args& a) { return Variant(f.AlertRetry(a.Str(0), a.Str(1), a.Str(2))); })
      .Method(
          "MsgRetry", Parts(),
          [](qorForms& f, Args& a) { return Variant(f.MsgRetry(a.Str(0), a.Str(1), a.Str(2))); })
      .Method("Requester",
              {Req("pMsg1", V::kString), Opt("pMsg2", V::kString, Variant("")),
               Opt("pMsg3", V::kString, Variant("")), Opt("pMsgYes", V::kString, Variant("")),
               Opt("pMsgNo", V::kString, Variant("")), Opt("pTitleBar", V::kString, Variant("")),
               Opt("pMsgFont", V::kString, Variant("")), Opt("pMsgFontSize", V::kInteger, Int16(0)),
               Opt("pButtonFont", V::kString, Variant("")),
               Opt("pButtonFontSize", V::kInteger, Int16(0))},
              [](qorForms& f, Args& a) {
                return Variant(f.Requester(a.Str(0), a.Str(1), a.Str(2), a.Str(3), a.Str(4),
                                           a.Str(5), a.Str(6), a.Int(7), a.Str(8), a.Int(9)));
              })
      .Method("CalendarForm",
              {Opt("pInitialDate", V::kVariant), Opt("pTitle", V::kString, Variant(""))},
              [](qorForms& f, Args& a) { return f.CalendarForm(a[0], a.Str(1)); })
      .Method("MenuForm", MenuParams(),
              [](qorForms& f, Args& a) { return Variant(CallMenuForm(f, a)); })
      .Method("RichTextForm",
              {Ref("pTextRTF"), Opt("pFilenameToLoad", V::kString, Variant("")),
               Opt("pFileOpenAllow", V::kBoolean, Variant(false)),
               Opt("pFileSaveAllow", V::kBoolean, Variant(false)),
               Opt("pPrintAllow", V::kBoolean, Variant(false)),
               Opt("pTitleBar", V::kString, Variant(""))},
              [](qorForms& f, Args& a) {
                return Variant(
                    f.RichTextForm(a[0], a.Str(1), a.Bool(2), a.Bool(3), a.Bool(4), a.Str(5)));
              });

  RegisterList(registry);
}

}  // namespace qor::automation
