#include "tests/model/step.h"

#include <array>

namespace tarnwick::model {

const char* name_of(Op op) {
  static constexpr std::array<const char*, kOps> kNames{"kNewServer",
                                                        "kDropServer",
                                                        "kConnect",
                                                        "kConnectToNothing",
                                                        "kReload",
                                                        "kAskServer",
                                                        "kReloadCollection",
                                                        "kReplaceStore",
                                                        "kAskCollection",
                                                        "kList",
                                                        "kRows",
                                                        "kFindPcs",
                                                        "kReportFiles",
                                                        "kExists",
                                                        "kAdd",
                                                        "kItemByKey",
                                                        "kItemByPosition",
                                                        "kFindMetaId",
                                                        "kNewRecord",
                                                        "kDropRecord",
                                                        "kAddObject",
                                                        "kPcsOf",
                                                        "kLet",
                                                        "kLock",
                                                        "kRelease",
                                                        "kUpdate",
                                                        "kInsert",
                                                        "kLook",
                                                        "kDelete",
                                                        "kRefreshRecord",
                                                        "kImportTtx",
                                                        "kExtractTtx",
                                                        "kExtractReport",
                                                        "kInsertRow",
                                                        "kDeleteRow",
                                                        "kTouchRow",
                                                        "kSpoilRow",
                                                        "kRefuseCommit",
                                                        "kCutConnection",
                                                        "kKillProcess"};
  return kNames[static_cast<std::size_t>(op)];
}

std::string source_of(const Step& step) {
  std::string source = std::string("{Op::") + name_of(step.op);
  for (const int number : {step.process, step.place, step.kind, step.key, step.value}) {
    source += ", " + std::to_string(number);
  }
  return source + "}";
}

}  // namespace tarnwick::model
