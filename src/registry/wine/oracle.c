/* The Windows side of the Wine differential test: runs profile and
 * registry calls read from standard input, one a line, and prints each
 * call's results on one line. Fields are hexadecimal bytes, "~" for a null
 * pointer; results are decimal numbers and hexadecimal bytes. Registry paths
 * are relative to HKEY_CURRENT_USER\Software\QorDiff; file names to the
 * folder given as the first argument. */

#include <shlwapi.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

#define kMax 70000

static char g_dir[MAX_PATH];

/* Decodes one field into out; returns its length, -1 for "~". */
static int Field(char** cursor, char* out) {
  char* p = *cursor;
  int n = 0;
  while (*p == ' ') p++;
  if (*p == '~' || *p == '.') {
    *cursor = p + 1;
    out[0] = 0;
    return *p == '~' ? -1 : 0;
  }
  while (p[0] && p[0] != ' ' && p[0] != '\n' && p[1]) {
    unsigned v;
    sscanf(p, "%2x", &v);
    out[n++] = (char)v;
    p += 2;
  }
  out[n] = 0;
  *cursor = p;
  return n;
}

static void Hex(const char* data, int n) {
  int i;
  putchar(' ');
  if (n == 0) putchar('.');
  for (i = 0; i < n; i++) printf("%02X", (unsigned char)data[i]);
}

static void Path(const char* rel, int len, char* full) {
  strcpy(full, "Software\\QorDiff");
  if (len > 0) {
    strcat(full, "\\");
    strcat(full, rel);
  }
}

static void File(const char* name, char* full) {
  strcpy(full, g_dir);
  strcat(full, "\\");
  strcat(full, name);
}

static char a[kMax], b[kMax], c[kMax], d[kMax], e[kMax], buf[kMax], full[kMax];

int main(int argc, char** argv) {
  static char line[4 * kMax];
  if (argc > 1) strcpy(g_dir, argv[1]);
  while (fgets(line, sizeof line, stdin)) {
    char op[8];
    char* p = line;
    int la, lb, lc;
    sscanf(p, "%7s", op);
    p += strlen(op);
    printf("%s", op);
    if (!strcmp(op, "G")) { /* section key default size file */
      int size;
      la = Field(&p, a);
      lb = Field(&p, b);
      lc = Field(&p, c);
      size = (int)strtol(p, &p, 10);
      Field(&p, d);
      File(d, full);
      memset(buf, '#', size + 1);
      printf(" %lu", GetPrivateProfileStringA(la < 0 ? NULL : a, lb < 0 ? NULL : b,
                                              lc < 0 ? NULL : c, buf, size, full));
      Hex(buf, size);
    } else if (!strcmp(op, "S")) { /* section size file */
      int size;
      Field(&p, a);
      size = (int)strtol(p, &p, 10);
      Field(&p, d);
      File(d, full);
      memset(buf, '#', size + 1);
      printf(" %lu", GetPrivateProfileSectionA(a, buf, size, full));
      Hex(buf, size);
    } else if (!strcmp(op, "W")) { /* section key value file */
      la = Field(&p, a);
      lb = Field(&p, b);
      lc = Field(&p, c);
      Field(&p, d);
      File(d, full);
      printf(" %d", WritePrivateProfileStringA(la < 0 ? NULL : a, lb < 0 ? NULL : b,
                                                lc < 0 ? NULL : c, full) != 0);
    } else if (!strcmp(op, "F")) { /* file: its bytes, or "-" */
      FILE* f;
      Field(&p, d);
      File(d, full);
      f = fopen(full, "rb");
      if (!f) {
        printf(" -");
      } else {
        int n = (int)fread(buf, 1, kMax, f);
        fclose(f);
        Hex(buf, n);
      }
    } else if (!strcmp(op, "RC") || !strcmp(op, "RO")) { /* path */
      HKEY h = NULL;
      LONG rc;
      la = Field(&p, a);
      Path(a, la, full);
      rc = op[1] == 'C' ? RegCreateKeyA(HKEY_CURRENT_USER, full, &h)
                        : RegOpenKeyA(HKEY_CURRENT_USER, full, &h);
      printf(" %ld", rc);
      if (rc == 0) RegCloseKey(h);
    } else if (!strcmp(op, "RK") || !strcmp(op, "RT")) { /* path */
      la = Field(&p, a);
      Path(a, la, full);
      printf(" %ld", op[1] == 'K' ? RegDeleteKeyA(HKEY_CURRENT_USER, full)
                                  : (LONG)SHDeleteKeyA(HKEY_CURRENT_USER, full));
    } else { /* operations on an opened key */
      HKEY h = NULL;
      LONG rc;
      la = Field(&p, a);
      Path(a, la, full);
      rc = RegOpenKeyA(HKEY_CURRENT_USER, full, &h);
      printf(" %ld", rc);
      if (rc == 0) {
        if (!strcmp(op, "RS")) { /* name type data */
          int type;
          lb = Field(&p, b);
          type = (int)strtol(p, &p, 10);
          lc = Field(&p, c);
          printf(" %ld", RegSetValueExA(h, b, 0, type, (BYTE*)c, lc));
        } else if (!strcmp(op, "RQ")) { /* name size (-1: no buffer) */
          DWORD type = 99, size;
          int want;
          lb = Field(&p, b);
          want = (int)strtol(p, &p, 10);
          size = want < 0 ? 0 : want;
          memset(buf, '#', size + 1);
          rc = RegQueryValueExA(h, b, NULL, &type, want < 0 ? NULL : (BYTE*)buf, &size);
          printf(" %ld %lu %lu", rc, type, size);
          if (rc == 0 && want >= 0) Hex(buf, (int)size);
        } else if (!strcmp(op, "RD")) { /* name */
          lb = Field(&p, b);
          printf(" %ld", RegDeleteValueA(h, b));
        } else if (!strcmp(op, "EK")) { /* size */
          int size = (int)strtol(p, &p, 10);
          DWORD i;
          for (i = 0;; i++) {
            rc = RegEnumKeyA(h, i, buf, size);
            if (rc) break;
            Hex(buf, (int)strlen(buf));
          }
          printf(" =%ld", rc);
        } else if (!strcmp(op, "EV")) { /* name size, data size */
          /* Every index until the end, one {...} group each: the platform
           * lists values in an order of its own, so the groups are compared
           * as a set. */
          int nsize = (int)strtol(p, &p, 10);
          int dsize = (int)strtol(p, &p, 10);
          DWORD i;
          for (i = 0; i < 1000; i++) {
            DWORD ns = nsize, ds = dsize, type = 99;
            rc = RegEnumValueA(h, i, buf, &ns, NULL, &type, (BYTE*)e, &ds);
            if (rc == ERROR_NO_MORE_ITEMS) break;
            printf(" {%ld", rc);
            if (rc == 0) {
              Hex(buf, (int)ns);
              printf(" %lu %lu", type, ds);
              Hex(e, (int)ds);
            }
            putchar('}');
          }
          printf(" =%ld", rc);
        }
        RegCloseKey(h);
      }
    }
    putchar('\n');
    fflush(stdout);
  }
  return 0;
}
