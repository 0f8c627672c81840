// The entries beside those of the table over a service of the test's own.
#include "impl/entries/optional_entries.h"
#include "tests/impl/scripted_service.h"

namespace {

using namespace kvtest;

class OptionalEntries : public Entries_Test {};

struct Fault_Told {
  int kind;
  std::wstring key;
  std::wstring value;
  std::string text;

  bool operator==(const Fault_Told&) const = default;
};

struct Faults {
  std::vector<Fault_Told> told;
  std::size_t most = 100;
};

BOOL note_fault(void* context, const KvHiveFault* fault) {
  auto& faults = *static_cast<Faults*>(context);
  faults.told.push_back({fault->kind, fault->key == nullptr ? L"(null)" : fault->key,
                         fault->value == nullptr ? L"(null)" : fault->value, fault->text});
  return faults.told.size() < faults.most;
}

TEST_F(OptionalEntries, AreNotImplementedWhereTheServiceCannot) {
  scripted.code = ERROR_CALL_NOT_IMPLEMENTED;
  EXPECT_EQ(KvIRegBeginBatch(nullptr), 120u);
  EXPECT_EQ(KvIRegCommitBatch(nullptr, nullptr, nullptr), 120u);
  EXPECT_EQ(KvIRegAbandonBatch(nullptr), 120u);
}

TEST_F(OptionalEntries, RenamingHandsOnPathAndName) {
  EXPECT_EQ(KvIRegRenameKey(key, win(u"a\\b").data(), win(u"c").data(), nullptr), 0u);
  EXPECT_EQ(scripted.path, u"a\\b>c");
  EXPECT_EQ(KvIRegRenameKey(key, nullptr, win(u"c").data(), nullptr), 0u);
  EXPECT_EQ(scripted.path, u">c");
  EXPECT_EQ(KvIRegRenameKey(key, nullptr, nullptr, nullptr), 87u);
}

TEST_F(OptionalEntries, UnloadingHandsOnThePath) {
  EXPECT_EQ(KvIRegUnLoadKey(key, win(u"a").data(), nullptr), 0u);
  EXPECT_EQ(scripted.path, u"a");
}

TEST_F(OptionalEntries, TheEndOfABatchIsToldHiveByHiveWhateverTheAnswer) {
  scripted.ended = {{HKEY(1), "/first", 0}, {HKEY(2), "", 112}};
  scripted.code = ERROR_DISK_FULL;
  std::string told;
  const auto note = [](void* text, const KvBatchHive* hive) {
    *static_cast<std::string*>(text) += std::string(hive->file) + ":" + std::to_string(hive->code) + ";";
  };
  EXPECT_EQ(KvIRegCommitBatch(note, &told, nullptr), 112u);
  EXPECT_EQ(told, "/first:0;:112;");
  EXPECT_EQ(KvIRegCommitBatch(nullptr, nullptr, nullptr), 112u);
}

TEST_F(OptionalEntries, FaultsAreToldWithWhatIsKnownOfThem) {
  scripted.report = {5, 1, 7, 99, {{0, std::nullopt, std::nullopt, "broken"}, {12, u"a\\b", u"", "short"}}};
  scripted.code = ERROR_BADDB;
  Faults faults;
  KvHiveCounts counts{};
  EXPECT_EQ(KvIRegCheck(key, &counts, &note_fault, &faults, nullptr), 1009u);
  EXPECT_EQ(faults.told, (std::vector<Fault_Told>{{0, L"(null)", L"(null)", "broken"}, {12, L"a\\b", L"", "short"}}));
  EXPECT_EQ(counts.keys, 5u);
  EXPECT_EQ(counts.volatile_keys, 1u);
  EXPECT_EQ(counts.values, 7u);
  EXPECT_EQ(counts.data_size, 99u);
  EXPECT_EQ(counts.faults, 2u);
}

TEST_F(OptionalEntries, FaultsAreToldUntilTheCallerHasEnough) {
  scripted.report.faults = {{0, std::nullopt, std::nullopt, "1"}, {1, std::nullopt, std::nullopt, "2"}};
  Faults faults{{}, 1};
  EXPECT_EQ(KvIRegCheckFile("/f", nullptr, &note_fault, &faults, nullptr), 0u);
  EXPECT_EQ(faults.told.size(), 1u);
  EXPECT_EQ(scripted.file_name, "/f");
  EXPECT_EQ(KvIRegCheckFile("/f", nullptr, nullptr, nullptr, nullptr), 0u);
  EXPECT_EQ(KvIRegCheckFile("", nullptr, nullptr, nullptr, nullptr), 87u);
  EXPECT_EQ(KvIRegCheckFile(nullptr, nullptr, nullptr, nullptr, nullptr), 87u);
}

}  // namespace
