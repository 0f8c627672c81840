// compare, diff, find, tree, ls and the rights of keys through the built program.
#include <unistd.h>

#include "tests/tools/kvreg.h"

namespace {

using namespace std::string_literals;

TEST_F(Kvreg, ComparesTwoKeys) {
  add("HKCU\\A", "same", "1");
  add("HKCU\\B", "Same", "1");
  add("HKCU\\A", "other", "1");
  add("HKCU\\B", "other", "2");
  add("HKCU\\A\\Sub", "x", "1");
  const kvtest::Child_Result differs = run({"compare", "HKCU\\A", "HKCU\\B"});
  EXPECT_EQ(differs.exit_status, 2);
  EXPECT_EQ(differs.out,
            "< Value:  HKEY_CURRENT_USER\\A  other  REG_SZ  1\n> Value:  HKEY_CURRENT_USER\\B  other  REG_SZ  2\n"
            "\nResult Compared:  Different\n\nThe operation completed successfully.\n");
  EXPECT_EQ(run({"compare", "HKCU\\A", "HKCU\\B", "/v", "same"}).exit_status, 0);
  EXPECT_EQ(run({"compare", "HKCU\\A", "HKCU\\B", "/ve"}).exit_status, 0);
  const kvtest::Child_Result deep = run({"compare", "HKCU\\A", "HKCU\\B", "/s", "/oa"});
  EXPECT_EQ(deep.exit_status, 2);
  EXPECT_EQ(deep.out,
            "< Value:  HKEY_CURRENT_USER\\A  other  REG_SZ  1\n> Value:  HKEY_CURRENT_USER\\B  other  REG_SZ  2\n"
            "= Value:  HKEY_CURRENT_USER\\A  same  REG_SZ  1\n"
            "< Key:  HKEY_CURRENT_USER\\A\\Sub\n< Value:  HKEY_CURRENT_USER\\A\\Sub  x  REG_SZ  1\n"
            "\nResult Compared:  Different\n\nThe operation completed successfully.\n");
  EXPECT_EQ(run({"compare", "HKCU\\A", "HKCU\\B", "/os"}).out,
            "= Value:  HKEY_CURRENT_USER\\A  same  REG_SZ  1\n"
            "\nResult Compared:  Different\n\nThe operation completed successfully.\n");
  EXPECT_EQ(complaint({"compare", "HKCU\\A", "HKCU\\B", "/on"}, 2), "");
}

TEST_F(Kvreg, ComparesWithTheSamePathBelowAnotherRoot) {
  add("HKCU\\A", "v", "1");
  add("HKLM\\A", "v", "1");
  EXPECT_EQ(out({"compare", "HKCU\\A", "HKLM"}),
            "\nResult Compared:  Identical\n\nThe operation completed successfully.\n");
}

TEST_F(Kvreg, CannotCompareWhatIsNotThere) {
  add("HKCU\\A", "v", "1");
  EXPECT_EQ(complaint({"compare", "HKCU\\A", "HKCU\\B"}),
            "kvreg compare: HKEY_CURRENT_USER\\B: no such key, value or file (ERROR_FILE_NOT_FOUND, 2)\n");
}

TEST_F(Kvreg, ShowsWhatDiffersBetweenKeysAndFiles) {
  add("HKCU\\A\\Sub", "v", "1");
  EXPECT_EQ(out({"export", "HKCU\\A", file("a.reg")}), done);
  EXPECT_EQ(out({"diff", file("a.reg"), "HKCU\\A"}), "");
  add("HKCU\\A\\Sub", "v", "2");
  add("HKCU\\A", "new", "3");
  const kvtest::Child_Result differs = run({"diff", file("a.reg"), "HKCU\\A"});
  EXPECT_EQ(differs.exit_status, 2);
  EXPECT_EQ(differs.out,
            "+ HKEY_CURRENT_USER\\A  new  REG_SZ  3\n- HKEY_CURRENT_USER\\A\\Sub  v  REG_SZ  1\n"
            "+ HKEY_CURRENT_USER\\A\\Sub  v  REG_SZ  2\n");
  EXPECT_EQ(out({"export", "HKCU\\A", file("b.reg")}), done);
  const kvtest::Child_Result files = run({"diff", file("b.reg"), file("a.reg"), "--json"});
  EXPECT_EQ(files.exit_status, 2);
  EXPECT_EQ(
      files.out,
      "[\n{\"key\":\"HKEY_CURRENT_USER\\\\A\",\"side\":\"A\",\"value\":{\"data\":\"3\",\"name\":\"new\",\"type\":"
      "\"REG_SZ\"}},\n"
      "{\"key\":\"HKEY_CURRENT_USER\\\\A\\\\Sub\",\"side\":\"A\",\"value\":{\"data\":\"2\",\"name\":\"v\",\"type\":"
      "\"REG_SZ\"}},\n"
      "{\"key\":\"HKEY_CURRENT_USER\\\\A\\\\Sub\",\"side\":\"B\",\"value\":{\"data\":\"1\",\"name\":\"v\",\"type\":"
      "\"REG_SZ\"}}\n]\n");
}

TEST_F(Kvreg, FindsKeysAndValues) {
  add("HKCU\\S\\Needle", "a", "x");
  add("HKCU\\S", "needle2", "x");
  add("HKCU\\S", "z", "a NEEDLE");
  EXPECT_EQ(out({"find", "HKCU", "needle"}),
            "HKEY_CURRENT_USER\\S  needle2  REG_SZ  x\nHKEY_CURRENT_USER\\S  z  REG_SZ  a NEEDLE\n"
            "HKEY_CURRENT_USER\\S\\Needle\n");
  EXPECT_EQ(out({"find", "HKCU", "needle", "--keys", "-0"}), "HKEY_CURRENT_USER\\S\\Needle\0\0\0\0"s);
  EXPECT_EQ(out({"find", "HKCU", "NEEDLE", "--case", "--json"}),
            "[\n{\"key\":\"HKEY_CURRENT_USER\\\\S\",\"value\":{\"data\":\"a "
            "NEEDLE\",\"name\":\"z\",\"type\":\"REG_SZ\"}}\n]\n");
  EXPECT_EQ(complaint({"find", "HKCU", "haystack"}), "");
}

TEST_F(Kvreg, DrawsATree) {
  add("HKCU\\S\\A\\B", "v", "1");
  add("HKCU\\S\\C", "w", "2");
  EXPECT_EQ(out({"tree", "HKCU\\S"}), "HKEY_CURRENT_USER\\S\n├── A\n│   └── B\n└── C\n");
  EXPECT_EQ(out({"tree", "HKCU\\S", "-v"}),
            "HKEY_CURRENT_USER\\S\n├── A\n│   └── B\n│       └── v = REG_SZ 1\n└── C\n    └── w = REG_SZ 2\n");
  EXPECT_EQ(out({"tree", "HKCU\\S", "--levels", "1"}), "HKEY_CURRENT_USER\\S\n├── A\n└── C\n");
  EXPECT_EQ(out({"tree", "HKCU\\S", "--levels", "1", "--json"}),
            "{\"name\":\"S\",\"sub_keys\":[{\"name\":\"A\",\"sub_keys\":[]},{\"name\":\"C\",\"sub_keys\":[]}]}\n");
}

TEST_F(Kvreg, ListsAKey) {
  add("HKCU\\S\\Sub", "v", "1");
  EXPECT_EQ(out({"add", "HKCU\\S", "/ve", "/d", "text"}), done);
  EXPECT_EQ(out({"ls", "HKCU\\S"}), "Sub\\\n(Default)\n");
  EXPECT_EQ(out({"ls", "HKCU\\S", "-0"}), "Sub\\\0\0"s);
  EXPECT_EQ(out({"ls"}).substr(0, 19), "HKEY_LOCAL_MACHINE\\");
  const std::string listed = out({"ls", "-l", "HKCU\\S"});
  EXPECT_EQ(listed.substr(0, 4), "krwx") << listed;
  EXPECT_NE(listed.find("  0  1  "), std::string::npos) << listed;
  EXPECT_NE(listed.find("  Sub\\\nv REG_SZ  10  (Default)\n"), std::string::npos) << listed;
}

// The mode that ls tells of a key.
std::string mode_in(const std::string& listed) { return listed.substr(0, 10); }

TEST_F(Kvreg, ChangesPermissionBits) {
  add("HKCU\\S\\Sub", "v", "1");
  add("HKCU\\T", "v", "1");
  EXPECT_EQ(out({"chmod", "0751", "HKCU\\S", "HKCU\\T"}), "");
  EXPECT_EQ(mode_in(out({"ls", "-ld", "HKCU\\S"})), "krwxr-x--x");
  EXPECT_EQ(mode_in(out({"ls", "-ld", "HKCU\\T"})), "krwxr-x--x");
  EXPECT_EQ(out({"chmod", "-R", "go=r,u-w", "HKCU\\S"}), "");
  EXPECT_EQ(mode_in(out({"ls", "-ld", "HKCU\\S"})), "kr-xr--r--");
  EXPECT_EQ(mode_in(out({"ls", "-ld", "HKCU\\S\\Sub"})), "kr-xr--r--");
  EXPECT_EQ(out({"chmod", "6644", "HKCU\\T"}), "");
  EXPECT_EQ(mode_in(out({"ls", "-ld", "HKCU\\T"})), "krwSr-Sr--");
}

TEST_F(Kvreg, RefusesModesAndAccountsThatAreNone) {
  for (const std::string mode : {"8", "10000", "u", "u+q", "+-", ""}) {
    EXPECT_EQ(complaint({"chmod", mode, "HKCU"}), "kvreg chmod: \"" + mode +
                                                      "\" is no mode: octal digits up to 7777, or such as u+w,go-rwx\n"
                                                      "See \"kvreg chmod --help\".\n");
  }
  EXPECT_EQ(complaint({"chown", "no such user", "HKCU"}),
            "kvreg chown: \"no such user\" is no user\nSee \"kvreg chown --help\".\n");
  EXPECT_EQ(complaint({"chgrp", "no such group", "HKCU"}),
            "kvreg chgrp: \"no such group\" is no group\nSee \"kvreg chgrp --help\".\n");
  EXPECT_EQ(complaint({"chown", ":", "HKCU"}),
            "kvreg chown: \":\" names neither a user nor a group\nSee \"kvreg chown --help\".\n");
}

TEST_F(Kvreg, ChangesOwnerAndGroup) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives keys away";
  add("HKCU\\S\\Sub", "v", "1");
  EXPECT_EQ(out({"chown", "-R", "4711:4712", "HKCU\\S"}), "");
  EXPECT_NE(out({"ls", "-d", "HKCU\\S\\Sub", "--json"}).find("\"group\":4712"), std::string::npos);
  EXPECT_NE(out({"ls", "-d", "HKCU\\S\\Sub", "--json"}).find("\"owner\":4711"), std::string::npos);
  EXPECT_EQ(out({"chgrp", "4713", "HKCU\\S"}), "");
  EXPECT_EQ(out({"ls", "-ld", "HKCU\\S"}).substr(10, 16), "  4711  4713  1 ");
}

}  // namespace
