// Calls of the local security authority that cross the table: every argument as it is, and the answer.
#include <kelvane/lsa.h>
#include <ntsecapi.h>

#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

class Lsa : public Fronts {
 protected:
  // The arguments of the only call, in order.
  std::vector<std::uint64_t> arguments() const {
    std::vector<std::uint64_t> values;
    for (const kvrecording::Argument& argument : call().arguments) values.push_back(argument.raw);
    return values;
  }
};

using Values = std::vector<std::uint64_t>;

template <class T>
T* at(std::uintptr_t number) {
  return unreadable<T>(number);
}

TEST_F(Lsa, APackageCallHasTwoZeroArgumentsMore) {
  recording.script("KvILsaCallAuthenticationPackage", answer(0xC00000BB));
  EXPECT_EQ(LsaCallAuthenticationPackage(at<void>(0x11), 0xFFFFFFF2, at<void>(0x13), 0x80000014, at<PVOID>(0x15),
                                         at<ULONG>(0x16), at<NTSTATUS>(0x17)),
            static_cast<NTSTATUS>(0xC00000BB));
  EXPECT_EQ(entries(), "KvILsaCallAuthenticationPackage ");
  EXPECT_EQ(arguments(), (Values{0x11, 0xFFFFFFF2, 0x13, 0x80000014, 0x15, 0x16, 0x17, 0, 0}));
}

TEST_F(Lsa, ALogonPassesAllFourteenArguments) {
  recording.script("KvILsaLogonUser", answer(0xC000006D));
  EXPECT_EQ(LsaLogonUser(at<void>(0x11), at<LSA_STRING>(0x12), Network, 0x80000014, at<void>(0x15), 0x80000016,
                         at<TOKEN_GROUPS>(0x17), at<TOKEN_SOURCE>(0x18), at<PVOID>(0x19), at<ULONG>(0x1A),
                         at<LUID>(0x1B), at<HANDLE>(0x1C), at<QUOTA_LIMITS>(0x1D), at<NTSTATUS>(0x1E)),
            static_cast<NTSTATUS>(0xC000006D));
  EXPECT_EQ(arguments(),
            (Values{0x11, 0x12, 3, 0x80000014, 0x15, 0x80000016, 0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D, 0x1E}));
}

TEST_F(Lsa, AQuestionOfPolicyPassesItsThreeArguments) {
  recording.script("KvILsaQueryInformationPolicy", answer(0x00000105));
  EXPECT_EQ(LsaQueryInformationPolicy(at<void>(0x11), PolicyAccountDomainInformation, at<PVOID>(0x13)), 0x105);
  EXPECT_EQ(arguments(), (Values{0x11, 5, 0x13}));
}

TEST_F(Lsa, TheLayersOwnCallsPassSixArgumentsOfFullWidthAndTheirResult) {
  struct Own {
    const char* entry;
    INT_PTR (*function)(void*, void*, void*, void*, void*, void*);
  };
  for (const Own& own :
       {Own{"KvILsaInit", KvLsaInit}, Own{"KvIIsAdministrator", KvIsAdministrator},
        Own{"KvIMapImpersonatedUser", KvMapImpersonatedUser}, Own{"KvIRefreshSecData", KvRefreshSecData}}) {
    recording.reset();
    recording.script(own.entry, answer(0x1122334455667788));
    EXPECT_EQ(own.function(at<void>(0xA00000000001), at<void>(2), at<void>(3), at<void>(4), at<void>(5),
                           at<void>(0xFFFFFFFFFFFFFFF6)),
              0x1122334455667788)
        << own.entry;
    EXPECT_EQ(entries(), std::string(own.entry) + " ");
    EXPECT_EQ(arguments(), (Values{0xA00000000001, 2, 3, 4, 5, 0xFFFFFFFFFFFFFFF6})) << own.entry;
  }
}

TEST_F(Lsa, TheCallsHaveNoGate) {
  KvRegistryClosed = 1;
  EXPECT_EQ(KvLsaInit(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  KvRegistryClosed = 0;
}

}  // namespace
}  // namespace kvtest
