// A headless controller for the source-list tests: a private home, a scripted view, and
// helpers that wait for the background counts to land.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "session/qvtransfer_private.h"
#include "support/support.h"

namespace qvt::test {

class SourceFixture : public ::testing::Test {
  protected:
    void SetUp() override {
        // The scripted view does not read the interface definition; any non-empty one loads.
        writeFile(harness.home / "interface.ui", "<ui version=\"4.0\"/>");
        harness.services.interfaceDefinitionPath = harness.home / "interface.ui";
        controller = QVTransferPrivate::initWithDevice(dasDevice(), harness.services);
        ASSERT_TRUE(controller);
        home = controller->userHomeDirectory;
        ASSERT_FALSE(home.empty());
        ASSERT_TRUE(settled());
    }

    void TearDown() override {
        if (controller) {
            EXPECT_TRUE(settled());
            controller.reset();
        }
    }

    // True once no background task runs and the main thread has run what they posted.
    bool settled(double seconds = 30) {
        const bool idle = waitFor([&] { return controller->dispatcher().running() == 0; }, seconds);
        // Main-thread work runs in the order posted: once a marker posted now has run, so has
        // everything the finished tasks posted before it.
        auto marker = std::make_shared<std::atomic<bool>>(false);
        controller->dispatcher().mainAsync([marker] { *marker = true; });
        return waitFor([&] { return marker->load(); }, seconds) && idle;
    }

    // Every row counted: no files label is the five-blank placeholder any more.
    bool allCounted(double seconds = 30) {
        const bool done = waitFor(
            [&] {
                for (const Record& r : rows())
                    if (r.string("numberOfFiles") == "     ") return false;
                return controller->dispatcher().running() == 0;
            },
            seconds);
        return done && settled(seconds);
    }

    std::vector<Record> rows() const {
        std::vector<Record> out;
        for (const Value& v : controller->sourceFilesArray.get())
            if (const Record* r = v.asRecord()) out.push_back(*r);
        return out;
    }

    std::vector<std::string> paths() const {
        std::vector<std::string> out;
        for (const Record& r : rows()) out.push_back(r.string("fullFilePath"));
        return out;
    }

    std::string viewText(const std::string& control) const {
        std::lock_guard lock(harness.view->mutex);
        auto it = harness.view->texts.find(control);
        return it == harness.view->texts.end() ? std::string() : it->second;
    }

    // The Next button's state as the view was last told, or -1 when never.
    int nextEnabled() const {
        std::lock_guard lock(harness.view->mutex);
        auto it = harness.view->enabled.find("chooseSourceFilesNextButton");
        return it == harness.view->enabled.end() ? -1 : (it->second ? 1 : 0);
    }

    void setTicked(int row, bool ticked) {
        controller->sourceFilesArray.with([&](List& list) {
            list.at(static_cast<std::size_t>(row))
                .asRecord()
                ->set("filesSelectCheckbox", ticked ? 1 : 0);
        });
        controller->processDeselectedFiles(row);
    }

    void drop(const std::vector<std::string>& paths) { controller->concludeDragOperation(paths); }

    std::string summary() const { return controller->numberOfFilesAndFolders.get(); }

    void expectTotals(std::int64_t files, std::int64_t folders, std::uint64_t bytes) const {
        EXPECT_EQ(controller->totalNumberOfSourceFiles.load(), files);
        EXPECT_EQ(controller->totalNumberOfSourceFolders.load(), folders);
        EXPECT_EQ(controller->totalSourceFilesSize.load(), bytes);
    }

    Harness harness;
    std::shared_ptr<QVTransferPrivate> controller;
    std::string home;
};

inline std::string bytesOf(std::size_t n) {
    return std::string(n, 'x');
}

}  // namespace qvt::test
