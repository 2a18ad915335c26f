/* The Windows side of registry_bench: reads one INI entry with
 * GetPrivateProfileStringA the given number of times and prints the time
 * of one read in microseconds. Arguments: file, section, key, count. */

#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

int main(int argc, char** argv) {
  char buffer[256];
  LARGE_INTEGER frequency, start, end;
  int count, i;
  if (argc != 5) return 2;
  count = atoi(argv[4]);
  /* One read first, so that the file's first load is not counted alone. */
  GetPrivateProfileStringA(argv[2], argv[3], "", buffer, sizeof buffer, argv[1]);
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  for (i = 0; i < count; ++i) {
    GetPrivateProfileStringA(argv[2], argv[3], "", buffer, sizeof buffer, argv[1]);
  }
  QueryPerformanceCounter(&end);
  printf("%.3f %s\n", (double)(end.QuadPart - start.QuadPart) * 1e6 / frequency.QuadPart / count,
         buffer);
  return 0;
}
