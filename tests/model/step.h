#pragma once

#include <string>
#include <vector>

namespace tarnwick::model {

/// What is done in one step.
enum class Op {
  // Of a process: `place` is one of its two Servers.
  kNewServer,
  kDropServer,
  kConnect,
  kConnectToNothing,
  kReload,
  kAskServer,
  // Of a collection: `kind` says which.
  kReloadCollection,
  kReplaceStore,
  kAskCollection,
  kList,
  kRows,
  kFindPcs,
  kReportFiles,
  kExists,
  kAdd,
  kItemByKey,
  kItemByPosition,
  kFindMetaId,
  // Of a record, or of a place for one: `place` is one of the places of the process.
  kNewRecord,
  kDropRecord,
  kAddObject,
  kPcsOf,
  kLet,
  kLock,
  kRelease,
  kUpdate,
  kInsert,
  kLook,
  kDelete,
  kRefreshRecord,
  kImportTtx,
  kExtractTtx,
  kExtractReport,
  // From outside.
  kInsertRow,
  kDeleteRow,
  kTouchRow,
  kSpoilRow,
  kRefuseCommit,
  kCutConnection,
  kKillProcess,
};
inline constexpr int kOps = static_cast<int>(Op::kKillProcess) + 1;

/// One step. The numbers choose out of the vocabulary, each modulo what there is: any numbers make
/// a step, so that steps can be left out and numbers made smaller at will.
struct Step {
  Op op{};
  int process = 0;
  int place = 0;
  int kind = 0;   ///< 0 components, 1 PCs, 2 reports
  int key = 0;    ///< which key, property, file or position
  int value = 0;  ///< which value, or what the question of a locked row is answered
  friend bool operator==(const Step&, const Step&) = default;
};
using Steps = std::vector<Step>;

[[nodiscard]] const char* name_of(Op op);

/// As it stands in a test: "{Op::kLock, 0, 1, 0, 2, 0}".
[[nodiscard]] std::string source_of(const Step& step);

}  // namespace tarnwick::model
