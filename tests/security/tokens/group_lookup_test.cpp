// What the check asks anew, what it leaves alone, and the less usual words of the group script.
#include <sys/resource.h>

#include "tests/security/tokens/access_checks.h"

namespace kvtest {
namespace {

std::string verdict_for(const Ids& groups) { return verdict(Ids{1}, groups, 500); }

TEST(GroupLookUp, ReadsTheLoginNameAnewForEachGroup) {
  Host_Of_Users host;
  host.set_script("sed -i s/^anna:/berta:/ /etc/passwd\necho 34");
  EXPECT_ANSWER(host.run([] { return verdict_for({1, 34}); }), "granted");
  EXPECT_EQ(host.runs(), "1:anna\n1:berta\n");
}

TEST(GroupLookUp, GoesOnWithoutAScriptWhenTheUserIsGone) {
  Host_Of_Users host;
  host.set_script("sed -i /^anna:/d /etc/passwd\necho 34");
  EXPECT_ANSWER(host.run([] { return verdict_for({1, 34, 34}); }), "denied");
  EXPECT_EQ(host.runs(), "1:anna\n");
}

// Leaves the process room for one descriptor more, whatever it has inherited.
void leave_one_descriptor() {
  const rlimit few = {16, 16};
  for (int open = 3; open < 16; ++open) close(open);
  setrlimit(RLIMIT_NOFILE, &few);
  for (int open = 3; open < 15; ++open) dup(0);
}

TEST(GroupLookUp, GoesOnWhenTheScriptCannotBeStarted) {
  Host_Of_Users host;
  host.set_script("echo 34");
  // The one descriptor is enough for the look-up of the user, but not for a pipe.
  EXPECT_ANSWER(host.run([] {
    leave_one_descriptor();
    return verdict(Ids{500}, Ids{34}, 500) + verdict_for({34, 34});
  }),
                "granteddenied");
  EXPECT_EQ(host.runs(), "");
}

TEST(GroupLookUp, TakesADescriptorWithoutOwnersForItsGroups) {
  Host_Of_Users host;
  host.set_script("echo 34");
  EXPECT_ANSWER(host.run([] { return verdict(Ids{}, Ids{34}, 500) + verdict(Ids{}, Ids{35}, 500); }), "granteddenied");
}

TEST(GroupLookUp, OfSidsWithoutAnyIdsStartsNoScript) {
  Host_Of_Users host;
  host.set_script("echo 34");
  EXPECT_ANSWER(host.run([] { return verdict(Ids{}, Ids{}, 500) + verdict(Ids{1}, std::nullopt, 500); }),
                "denieddenied");
  EXPECT_EQ(host.runs(), "");
}

TEST(GroupScriptWords, EndAtAZeroByte) {
  Host_Of_Users host;
  host.set_script("printf '12\\000 34\\n'");
  EXPECT_ANSWER(host.run([] { return verdict_for({34}) + verdict_for({12}); }), "deniedgranted");
}

TEST(GroupScriptWords, BelowZeroAreTakenByTheir32Bits) {
  Host_Of_Users host;
  host.set_script("echo -2");
  EXPECT_ANSWER(host.run([] { return verdict_for({0xFFFFFFFE}) + verdict_for({2}); }), "granteddenied");
}

TEST(GroupScriptWords, OfBlanksAloneNameNoGroup) {
  Host_Of_Users host;
  host.set_script("printf ' \\n \\n'");
  EXPECT_ANSWER(host.run([] { return verdict_for({0}); }), "denied");
}

// The verdict on the user 500 of this login name for a group that the script prints.
std::string verdict_on_name(const std::string& name) {
  Host_Of_Users host(name + ":x:500:100::/:/bin/sh\n");
  host.set_script("echo 34");
  return host.run([] { return verdict_for({34}); });
}

TEST(GroupLookUp, TakesEveryLetterAndDigitOfALoginName) {
  EXPECT_ANSWER(verdict_on_name("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"), "granted");
}

TEST(GroupLookUp, TakesNoCharacterBesideLettersAndDigits) {
  for (const char* name : {"a{b", "a[b", "a]b", "a}b", "a^b", "a!b", "a%b", "a,b", "a=b", "a\x7F", "$a", "a$$"}) {
    EXPECT_ANSWER(verdict_on_name(name), "denied");
  }
}

// A descriptor of the user 500 with this control word and revision; the mapping and the privileges fault when they are
// followed.
Check_Answer check_of_500(WORD control, BYTE revision, UINT_PTR user) {
  Id_Sid owner(Ids{500});
  Id_Sid group(Ids{1, 2});
  SECURITY_DESCRIPTOR descriptor = {};
  descriptor.Revision = revision;
  descriptor.Control = control;
  descriptor.Owner = owner.sid();
  descriptor.Group = group.sid();
  Check_Answer answer = {77, 77, 77, 77, 77};
  SetLastError(77);
  answer.result = KvAccessCheck(&descriptor, token_of(user), 0x1F01FF, reinterpret_cast<PGENERIC_MAPPING>(8),
                                reinterpret_cast<PPRIVILEGE_SET>(8), &answer.privileges_size, &answer.granted_access,
                                &answer.status);
  answer.error = GetLastError();
  return answer;
}

TEST(AccessCheckOfADescriptor, FollowsItsPointersWhateverControlAndRevisionSay) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    return word_for(check_of_500(0x8000, 1, 500)) + word_for(check_of_500(0xFFFF, 9, 500)) +
           word_for(check_of_500(0x8000, 1, 501));
  }),
                "grantedgranteddenied");
}

TEST(AccessCheckOfADescriptor, TakesItAndItsSidsAtAnyAddress) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    Guarded block(bytes("ee 01 00 00 00 00*36"));
    Guarded sid(bytes("ee 01 01 00 00 00 00 00 05 f4 01 00 00"));
    const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(sid.as<void>(1));
    std::memcpy(block.as<char>(1 + 8), &at, sizeof at);
    std::memcpy(block.as<char>(1 + 16), &at, sizeof at);
    return word_for(check_descriptor(block.as<void>(1), token_of(500)));
  }),
                "granted");
}

}  // namespace
}  // namespace kvtest
