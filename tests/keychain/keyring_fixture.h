// Access to the real Secret Service for the keychain tests: they run only inside
// scripts/with-keyring.sh, which starts a throw-away gnome-keyring on a private session bus, and
// fail (never skip) anywhere else.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace qvt::test {

// Fails the current test unless the private test keyring is reachable and its default
// collection is unlocked.
void requireTestKeyring();

// A serial number no other test (or parallel test process) uses.
std::string uniqueSerial(const std::string& tag);

// Items for (service, account) in the Secret Service, locked ones included; -1 on failure.
int countItems(const std::string& service, const std::string& account);

// Stores an item with the two attributes directly, as another program would (generic schema,
// own label), bypassing the code under test.
bool seedItem(const std::string& account, const std::string& data, const std::string& label);

// The secret and label of the one item for ("QVTransfer", account); empty when unreadable.
std::string readSecret(const std::string& account);
std::string readLabel(const std::string& account);

// Locks the default collection through the Secret Service's Lock method.
bool lockDefaultCollection();
bool defaultCollectionLocked();

// Runs this test program again with only `filter`, in a nested private keyring session made by
// scripts/with-keyring.sh (or no bus at all when `withKeyring` is false), with `childVariable`
// set to "1". Returns the exit code, and the output in `output`.
int runChild(const std::string& filter, const std::string& childVariable, bool withKeyring,
             std::string* output);

class RealKeyringTest : public ::testing::Test {
  protected:
    void SetUp() override { requireTestKeyring(); }
};

}  // namespace qvt::test
