// A database file built under a temporary name beside its final one and
// put in place, whole, only when it is complete.
//
// StagedDatabase picks a name in the target's folder that no file has
// (".NAME.building-PID-N"), which the caller creates and fills. Publish()
// links the finished file under the target name, which must still be free
// (never replacing a file that appeared meanwhile), and removes the
// temporary name. A StagedDatabase that goes without Publish() removes the
// temporary file and the files the engine keeps beside it.
//
// Also when the process is killed: the constructor starts a guardian
// process that waits on a pipe from this one. When the pipe closes (by
// Publish, by the destructor, or by the death of the process) the guardian
// removes the temporary files and ends at once; it holds no other file and
// ignores the terminal's signals. So a killed build leaves either nothing
// or the whole target, and no process stays behind it.
#ifndef QOR_TOOLS_QOR_STAGED_FILE_H_
#define QOR_TOOLS_QOR_STAGED_FILE_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace qor::tool {

class StagedDatabase {
 public:
  // Raises 3204 when target exists, 3044 when its folder does not, and
  // 3051 when no guardian can be started.
  explicit StagedDatabase(std::string target);
  ~StagedDatabase();
  StagedDatabase(const StagedDatabase&) = delete;
  StagedDatabase& operator=(const StagedDatabase&) = delete;

  // The name to build the database under.
  const std::string& path() const { return path_; }

  // Puts the built file (closed by the caller, with no write-ahead log
  // left beside it) in place under the target name: syncs the file, links
  // it, syncs the folder. So the builder may write without syncing. Raises
  // 3204 when the target appeared meanwhile, 3043 when the file cannot be
  // synced; the temporary files are removed either way.
  void Publish();

 private:
  void Dismiss();  // lets the guardian remove the temporary files and end

  std::string target_;
  std::string path_;
  std::vector<std::string> files_;  // path_ and the files beside it
  pid_t guardian_ = -1;
  int pipe_ = -1;  // the write end; the guardian reads the other
};

}  // namespace qor::tool

#endif  // QOR_TOOLS_QOR_STAGED_FILE_H_
