// Late-bound registration of qorWinAPIReg.

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/registry/winapireg.h"

namespace qor::automation {

void RegisterRegistryClasses(Registry& registry) {
  using V = VarType;
  using R = qorWinAPIReg;
  const Param verbose = Opt("Verbose", V::kBoolean, Variant(false));
  const Param key = Req("pKey", V::kLong);
  const Param path = Req("pKeyPath", V::kString);
  ClassBuilder<R>(registry, "qorWinAPIReg")
      .Method("RegistryCheckKey", {key, path},
              [](R& r, Args& a) { return Variant(r.RegistryCheckKey(a.Lng(0), a.Str(1))); })
      .Method(
          "RegistryCreateKey", {key, path, verbose},
          [](R& r, Args& a) { return Variant(r.RegistryCreateKey(a.Lng(0), a.Str(1), a.Bool(2))); })
      .Method("RegistryDestroyKey", {key, path, verbose},
              [](R& r, Args& a) {
                return Variant(r.RegistryDestroyKey(a.Lng(0), a.Str(1), a.Bool(2)));
              })
      .Method(
          "RegistryDeleteKey", {key, path, verbose},
          [](R& r, Args& a) { return Variant(r.RegistryDeleteKey(a.Lng(0), a.Str(1), a.Bool(2))); })
      .Method("RegistryDeleteValue", {key, path, Req("pValue", V::kString)},
              [](R& r, Args& a) {
                return Variant(r.RegistryDeleteValue(a.Lng(0), a.Str(1), a.Str(2)));
              })
      .Method(
          "RegistryGetValueString",
          {key, path, Req("pValue", V::kString), Opt("pDefault", V::kString, Variant("")), verbose},
          [](R& r, Args& a) {
            return r.RegistryGetValueString(a.Lng(0), a.Str(1), a.Str(2), a.Str(3), a.Bool(4));
          })
      .Method("RegistrySaveValueString",
              {key, path, Req("pValue", V::kString), Req("pData", V::kString), verbose},
              [](R& r, Args& a) {
                return Variant(
                    r.RegistrySaveValueString(a.Lng(0), a.Str(1), a.Str(2), a.Str(3), a.Bool(4)));
              })
      .Method(
          "RegistryGetValueLong",
          {key, path, Req("pValue", V::kString), OptRef("pDefault", V::kLong, Variant(0)), verbose},
          [](R& r, Args& a) {
            return Variant(
                r.RegistryGetValueLong(a.Lng(0), a.Str(1), a.Str(2), a.Lng(3), a.Bool(4)));
          })
      .Method("RegistrySaveValueLong",
              {key, path, Req("pValue", V::kString), Req("pData", V::kLong), verbose},
              [](R& r, Args& a) {
                return Variant(
                    r.RegistrySaveValueLong(a.Lng(0), a.Str(1), a.Str(2), a.Lng(3), a.Bool(4)));
              })
      .Method("RegistryGetValueBinary",
              {key, path, Req("pValueName", V::kString), Ref("pValue", V::kString),
               OptRef("pDefaultValue", V::kVariant), verbose},
              [](R& r, Args& a) {
                std::string value = a.Str(3);
                bool ok = r.RegistryGetValueBinary(a.Lng(0), a.Str(1), a.Str(2), value, a.Bool(5));
                a[3] = Variant(value);
                return Variant(ok);
              })
      .Method("RegistrySaveValueBinary",
              {key, path, Req("pValueName", V::kString), Req("pValue", V::kString),
               Req("pValueLength", V::kLong), verbose},
              [](R& r, Args& a) {
                return Variant(r.RegistrySaveValueBinary(a.Lng(0), a.Str(1), a.Str(2), a.Str(3),
                                                         a.Lng(4), a.Bool(5)));
              })
      .Method(
          "RegistryGetValue",
          {key, path, Req("pValue", V::kString), Opt("pDefault", V::kVariant, Variant()), verbose},
          [](R& r, Args& a) {
            return r.RegistryGetValue(a.Lng(0), a.Str(1), a.Str(2), a[3], a.Bool(4));
          })
      .Method("RegErrorMsg", {Ref("pErrorCode", V::kLong)},
              [](R& r, Args& a) { return Variant(r.RegErrorMsg(a.Lng(0))); })
      .Method("RegistryWriteKeyToFile",
              {Req("pSrcKey"), Req("pSrcPath"), Req("pFilePath"),
               Opt("pAppendMode", V::kBoolean, Variant(false)), verbose},
              [](R& r, Args& a) {
                return Variant(r.RegistryWriteKeyToFile(a[0], a[1], a[2], a.Bool(3), a.Bool(4)));
              })
      .Method("RegistryReadKeyFromFile", {Req("pFilePath"), verbose},
              [](R& r, Args& a) { return Variant(r.RegistryReadKeyFromFile(a[0], a.Bool(1))); })
      .Method("RegistryCloneKey",
              {Req("pSrcKey", V::kLong), Req("pSrcPath", V::kString), Req("pDestKey", V::kLong),
               Req("pDestPath", V::kString), Opt("pCreateIfRequired", V::kBoolean, Variant(false)),
               verbose},
              [](R& r, Args& a) {
                return Variant(r.RegistryCloneKey(a.Lng(0), a.Str(1), a.Lng(2), a.Str(3), a.Bool(4),
                                                  a.Bool(5)));
              })
      .Method("RegistryGetAllKeys", {key, path, ArrayRef("pNames", V::kString), verbose},
              [](R& r, Args& a) {
                return Variant(r.RegistryGetAllKeys(a.Lng(0), a.Str(1), a[2], a.Bool(3)));
              })
      .Method("RegistryGetAllValues", {key, path, ArrayRef("pValues"), verbose},
              [](R& r, Args& a) {
                return Variant(r.RegistryGetAllValues(a.Lng(0), a.Str(1), a[2], a.Bool(3)));
              })
      .Method(
          "IniRead",
          {Req("pIniName", V::kString), Req("pIniSection", V::kString), Req("pIniKey", V::kString)},
          [](R& r, Args& a) { return r.IniRead(a.Str(0), a.Str(1), a.Str(2)); })
      .Method(
          "IniWrite",
          {Req("pIniName", V::kString), Req("pIniSection", V::kString), Req("pIniKey", V::kString),
           Req("pIniValue")},
          [](R& r, Args& a) { return Variant(r.IniWrite(a.Str(0), a.Str(1), a.Str(2), a[3])); });
}

}  // namespace qor::automation
