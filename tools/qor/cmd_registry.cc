// qor reg and qor ini: the registry and INI files from the command line,
// through qorWinAPIReg (failures are reported on standard error by the
// headless interface, since every call here is Verbose).

#include <cstdio>
#include <string>

#include "command.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/registry/winapireg.h"
#include "registry/codepage.h"
#include "registry/profile.h"

namespace qor::tool {
namespace {

const Command& Named(const char* name) {
  for (const Command& c : Commands()) {
    if (std::string(c.name) == name) return c;
  }
  return Commands().front();
}

struct KeyArg {
  int32_t root = 0;
  std::string path;
};

// "HKEY_CURRENT_USER\Software\Acme" or "HKCU\Software\Acme".
bool ParseKey(const std::string& text, KeyArg* key) {
  static const struct {
    const char* full;
    const char* abbreviation;
    registry::HKey root;
  } kRoots[] = {{"HKEY_CLASSES_ROOT", "HKCR", registry::kClassesRoot},
                {"HKEY_CURRENT_USER", "HKCU", registry::kCurrentUser},
                {"HKEY_LOCAL_MACHINE", "HKLM", registry::kLocalMachine},
                {"HKEY_USERS", "HKU", registry::kUsers},
                {"HKEY_CURRENT_CONFIG", "HKCC", registry::kCurrentConfig}};
  size_t slash = text.find('\\');
  std::string root = vb::UCase(text.substr(0, slash));
  key->path = slash == std::string::npos ? "" : text.substr(slash + 1);
  for (const auto& r : kRoots) {
    if (root == r.full || root == r.abbreviation) {
      key->root = r.root;
      return true;
    }
  }
  return false;
}

int Done(bool ok) { return ok ? 0 : 1; }

// Prints why the last INI call could not read or write its file; false when
// it could.
bool ReportFileError(const char* command) {
  const registry::FileError& e = registry::LastProfileError();
  if (!e) return false;
  std::fprintf(stderr, "qor %s: error %d: %s\n", command, e.number, e.description.c_str());
  return true;
}

int ListKey(qorWinAPIReg& reg, const KeyArg& key) {
  Variant names = Array(VarType::kString, {{0, -1}});
  if (!reg.RegistryGetAllKeys(key.root, key.path, names, true)) return 1;
  for (const Variant& n : names.AsArray().elements()) std::printf("%s\\\n", n.AsString().c_str());
  Variant values;
  reg.RegistryGetAllValues(key.root, key.path, values, true);
  const Array& rows = values.AsArray();
  for (int32_t i = 0; i <= rows.DimensionBounds(1).upper; ++i) {
    if (rows.At({i, 0}).IsEmpty()) continue;
    std::string name = rows.At({i, 0}).AsString();
    int32_t type = vb::CLng(rows.At({i, 1}));
    std::string data;
    if (type == registry::kRegBinary) {
      std::string bytes;
      reg.RegistryGetValueBinary(key.root, key.path, name, bytes, true);
      std::printf("%s=(binary, %d characters read)\n", name.c_str(), int(vb::Len(bytes)));
      continue;
    }
    Variant v = reg.RegistryGetValue(key.root, key.path, name, Variant("?"), false);
    std::printf(
        "%s=%s\n", name.c_str(),
        type == registry::kRegDword ? ("DWORD:" + vb::CStr(v)).c_str() : vb::CStr(v).c_str());
  }
  return 0;
}

}  // namespace

int RunRegistry(const std::vector<std::string>& args) {
  const Command& me = Named("reg");
  if (args.empty()) return UsageError(me, "missing action");
  const std::string& action = args[0];
  qorWinAPIReg reg;
  KeyArg key, dest;
  auto need = [&](size_t n) { return args.size() == n; };
  if (action == "import" && need(2))
    return Done(reg.RegistryReadKeyFromFile(Variant(args[1]), true));
  if (args.size() < 2 || !ParseKey(args[1], &key)) return UsageError(me, "missing or unknown key");
  if (action == "export" && (need(3) || (need(4) && args[3] == "--append"))) {
    return Done(reg.RegistryWriteKeyToFile(Variant(key.root), Variant(key.path), Variant(args[2]),
                                           need(4), true));
  }
  if (action == "get" && need(3)) {
    Variant v = reg.RegistryGetValue(key.root, key.path, args[2], Variant::Null(), true);
    if (v.IsNull()) return 1;
    std::printf("%s\n", vb::CStr(v).c_str());
    return 0;
  }
  if (action == "set" && need(4)) {
    return Done(reg.RegistrySaveValueString(key.root, key.path, args[2], args[3], true));
  }
  if (action == "set" && need(5) && args[3] == "--dword") {
    return Done(reg.RegistrySaveValueLong(key.root, key.path, args[2], vb::CLng(Variant(args[4]))));
  }
  if (action == "list" && need(2)) return ListKey(reg, key);
  if (action == "delete" && need(2)) return Done(reg.RegistryDestroyKey(key.root, key.path, true));
  if (action == "clone" && need(3) && ParseKey(args[2], &dest)) {
    return Done(reg.RegistryCloneKey(key.root, key.path, dest.root, dest.path, true, true));
  }
  return UsageError(me, "unknown action or wrong arguments");
}

int RunIni(const std::vector<std::string>& args) {
  const Command& me = Named("ini");
  if (args.size() == 4 && args[0] == "get") {
    // The whole value or list, not IniRead's 254 characters: the profile
    // call with a buffer that grows until the result fits.
    constexpr std::string_view kMissing = "!!ERROR!!";
    std::string section = registry::ToCodePage(args[2]);
    std::string key = registry::ToCodePage(args[3]);
    registry::OptText section_arg, key_arg;
    if (!IsBlank(Variant(args[2]), true)) {
      section_arg = section;
      if (!IsBlank(Variant(args[3]), true)) key_arg = key;
    }
    std::string text;
    for (uint32_t size = 4096;; size *= 2) {
      text.assign(size, '\0');
      uint32_t n = registry::GetPrivateProfileString(section_arg, key_arg, kMissing, text.data(),
                                                     size, args[1]);
      if (n + 2 < size || size > registry::kMaxTextFileSize) {
        text.resize(n);
        break;
      }
    }
    if (ReportFileError("ini")) return 1;
    if (!text.empty() && text.back() == '\0') text.pop_back();
    for (char& c : text) {
      if (c == '\0') c = '\n';
    }
    std::printf("%s\n", registry::FromCodePage(text).c_str());
    return text == kMissing ? 1 : 0;
  }
  if ((args.size() == 4 || args.size() == 5) && args[0] == "set") {
    for (size_t i = 2; i < args.size(); ++i) {
      if (args[i].find_first_of("\r\n") != std::string::npos) {
        std::fprintf(stderr, "qor ini: error 5: a section, key or value cannot hold CR or LF\n");
        return 1;
      }
    }
    qorWinAPIReg reg;
    Variant value = args.size() == 5 ? Variant(args[4]) : Variant("");
    bool ok = reg.IniWrite(args[1], args[2], args[3], value);
    if (ReportFileError("ini")) return 1;
    return Done(ok);
  }
  return UsageError(me, "expected get FILE SECTION KEY or set FILE SECTION KEY [VALUE]");
}

}  // namespace qor::tool
