// What decides before any script runs: everybody, root, missing users and SIDs, owners.
#include "tests/security/tokens/access_checks.h"

namespace kvtest {
namespace {

constexpr DWORD everybody = 0xFFFFFFFF;
constexpr UINT_PTR nobody = 0xFFFFFFFF;

TEST(AccessCheckOfEverybody, GrantsAnyToken) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    return verdict(Ids{everybody}, Ids{everybody}, nobody) + verdict(Ids{everybody}, Ids{everybody}, 500) +
           verdict(Ids{everybody}, Ids{everybody}, 12345);
  }),
                "grantedgrantedgranted");
}

TEST(AccessCheckOfEverybody, NeedsOwnerAndGroupToBeExactlyThat) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    return verdict(Ids{everybody}, Ids{100}, nobody) + verdict(Ids{100}, Ids{everybody}, nobody) +
           verdict(Ids{everybody, everybody}, Ids{everybody}, nobody) +
           verdict(Ids{everybody}, Ids{everybody, 1}, nobody) + verdict(Ids{everybody}, std::nullopt, nobody) +
           verdict(std::nullopt, Ids{everybody}, nobody);
  }),
                "denieddenieddenieddenieddenieddenied");
}

TEST(AccessCheckOfRoot, IsGrantedWhateverTheDescriptorSays) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    return verdict(Ids{500}, Ids{}, 0) + verdict(std::nullopt, std::nullopt, 0) + verdict(Ids{}, Ids{}, 0) +
           word_for(check_descriptor(nullptr, token_of(0)));
  }),
                "grantedgrantedgrantedgranted");
}

TEST(AccessCheckOfRoot, NeedsAnEntryForRoot) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([&] {
    std::ofstream(host.etc("passwd")) << "anna:x:500:100::/:/bin/sh\n";
    return verdict(Ids{0}, Ids{0}, 0) + verdict(Ids{500}, Ids{}, 500);
  }),
                "deniedgranted");
}

TEST(AccessCheckOfNobody, IsDeniedWith5) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    return verdict(Ids{500}, Ids{100}, nobody) + verdict(Ids{everybody, 500}, Ids{100}, nobody) +
           verdict(Ids{500}, Ids{100}, ~UINT_PTR{0});
  }),
                "denieddenieddenied");
}

TEST(AccessCheckOfAnOwner, IsGrantedWhereverTheUserStandsAmongTheSubAuthorities) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    return verdict(Ids{500}, Ids{}, 500) + verdict(Ids{1, 500}, Ids{9}, 500) +
           verdict(Ids{1, 2, 3, 500, 5}, Ids{}, 500);
  }),
                "grantedgrantedgranted");
}

TEST(AccessCheckOfAnOwner, TakesTheLow32BitsOfTheToken) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] { return verdict(Ids{500}, Ids{}, 0x7700000000 + 500); }), "granted");
}

TEST(AccessCheckOfAnOwner, TakesSidsOf255SubAuthorities) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    Ids many(255, 7);
    const std::string without = verdict(many, Ids{}, 500);
    many.back() = 500;
    return without + verdict(many, Ids{}, 500);
  }),
                "deniedgranted");
}

TEST(AccessCheckOfOthers, IsDenied) {
  const Host_Of_Users host("anna:x:500:100::/:/bin/sh\notto:x:501:100::/:/bin/sh\n");
  EXPECT_ANSWER(host.run([] {
    return verdict(Ids{500}, Ids{}, 501) + verdict(Ids{1, 2}, Ids{}, 500);
  }),
                "denieddenied");
}

TEST(AccessCheckOfOthers, WithoutAnEntryIsDeniedAlsoAsOwner) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] { return verdict(Ids{12345}, Ids{}, 12345); }), "denied");
}

TEST(AccessCheckOfOthers, WithAnEntryOfMoreThan2048BytesIsDeniedAlsoAsOwner) {
  const Host_Of_Users host("otto:x:501:100:" + std::string(1900, 'g') + ":/:/bin/sh\n" +
                           "anna:x:500:100:" + std::string(2100, 'g') + ":/:/bin/sh\n");
  EXPECT_ANSWER(host.run([] { return verdict(Ids{500}, Ids{}, 500) + verdict(Ids{501}, Ids{}, 501); }),
                "deniedgranted");
}

TEST(AccessCheckOfOthers, WithAMissingSidOrEmptySidsIsDenied) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    return verdict(Ids{500}, std::nullopt, 500) + verdict(std::nullopt, Ids{100}, 500) + verdict(Ids{}, Ids{}, 500) +
           word_for(check_descriptor(nullptr, token_of(500)));
  }),
                "denieddenieddenieddenied");
}

// QUIRK granted-access-stays
TEST(AccessCheckThatDenies, TellsTheDesiredAccessAsGranted) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] {
    const Check_Answer answer = check(Ids{1}, Ids{}, token_of(500));
    char text[80];
    snprintf(text, sizeof text, "%d %d %x %u %u", answer.result, answer.status, answer.granted_access,
             answer.privileges_size, answer.error);
    return std::string(text);
  }),
                "1 0 1f01ff 0 5");
}

TEST(AccessCheckByOwner, StartsNoScript) {
  Host_Of_Users host;
  host.set_script("echo 100");
  EXPECT_ANSWER(host.run([] { return verdict(Ids{500}, Ids{100}, 500); }), "granted");
  EXPECT_EQ(host.runs(), "");
}

}  // namespace
}  // namespace kvtest
