// The console uploader's command line and the device records it builds.
#include <gtest/gtest.h>
#include <unistd.h>

#include <sys/mount.h>

#include "../mount/mount_test_support.h"
#include "cli_options.h"
#include "platform/files.h"
#include "platform/plist_io.h"
#include "support/support.h"

using namespace qvt;
using namespace qvt::cli;

namespace {

ParseResult parse(std::vector<std::string> args) {
    return parseArguments(args);
}

}  // namespace

TEST(CliOptions, ADeviceIsRequired) {
    EXPECT_NE(parse({}).error.find("no device"), std::string::npos);
    test::TempDir dir;
    EXPECT_NE(parse({dir.path()}).error.find("no device"), std::string::npos);
}

TEST(CliOptions, OnlyOneKindOfDevice) {
    test::TempDir dir;
    const auto r = parse({"--das", dir.path(), "--nas", "127.0.0.1", "--serial", "S"});
    EXPECT_NE(r.error.find("only one"), std::string::npos) << r.error;
}

TEST(CliOptions, UnknownOptionsAndMissingValuesAreErrors) {
    test::TempDir dir;
    EXPECT_NE(parse({"--das", dir.path(), "--frobnicate"}).error.find("unknown option"),
              std::string::npos);
    EXPECT_NE(parse({"--das", dir.path(), "--destination"}).error.find("--destination"),
              std::string::npos);
    EXPECT_NE(parse({"--das"}).error.find("--das"), std::string::npos);
    EXPECT_NE(parse({"--nas", "1.2.3.4"}).error.find("--serial"), std::string::npos);
}

TEST(CliOptions, SourcesMustExistAndBecomeAbsolute) {
    test::TempDir dir;
    test::writeFile(dir / "a.txt", "a");
    const auto missing = parse({"--das", dir.path(), dir / "nope"});
    EXPECT_NE(missing.error.find("no such source"), std::string::npos);

    char before[4096];
    ASSERT_NE(getcwd(before, sizeof before), nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    const auto relative = parse({"--das", ".", "./a.txt", "--", "-"});
    ASSERT_EQ(chdir(before), 0);
    // "-" after "--" is a source name, and it does not exist here.
    EXPECT_NE(relative.error.find("no such source"), std::string::npos);

    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    const auto ok = parse({"--das", ".", "./a.txt", "--move", "--user", "bob", "--destination",
                           "Vol/Folder", "--password-stdin"});
    ASSERT_EQ(chdir(before), 0);
    ASSERT_TRUE(ok.error.empty()) << ok.error;
    ASSERT_EQ(ok.options.sources.size(), 1u);
    EXPECT_EQ(ok.options.sources[0], dir / "a.txt");
    EXPECT_EQ(ok.options.dasVolumes[0], dir.path());
    EXPECT_TRUE(ok.options.move);
    EXPECT_TRUE(ok.options.passwordFromStdin);
    EXPECT_EQ(ok.options.user, "bob");
    EXPECT_EQ(ok.options.destination, "Vol/Folder");
}

// ".." in a source is taken where the system takes it, after the links before it: "L/../X"
// names the X beside L's target, the folder ls, cp and rm would show or remove, not the X
// beside L. With --move the wrong one would leave. A name before ".." that is not there makes
// no source, and a link as the last name keeps its own name.
TEST(CliOptions, DotDotInASourceIsTakenAfterTheLinksBeforeIt) {
    test::TempDir dir;
    test::writeFile(dir / "deep/X/which.txt", "beside the link's target");
    test::writeFile(dir / "X/which.txt", "beside the link");
    test::writeFile(dir / "deep/inner/keep.txt", "k");
    ASSERT_EQ(symlink("deep/inner", (dir / "L").c_str()), 0);
    const auto r = parse({"--das", dir.path(), dir / "L/../X", dir / "deep/./../L"});
    ASSERT_TRUE(r.error.empty()) << r.error;
    ASSERT_EQ(r.options.sources.size(), 2u);
    EXPECT_EQ(r.options.sources[0], dir / "deep/X");
    EXPECT_EQ(r.options.sources[1], dir / "L");
    const auto missing = parse({"--das", dir.path(), dir / "nothere/../X"});
    EXPECT_NE(missing.error.find("no such source"), std::string::npos) << missing.error;
}

TEST(CliOptions, ResumeTakesNoSourcesAndNoMove) {
    test::TempDir dir;
    test::writeFile(dir / "a.txt", "a");
    EXPECT_FALSE(parse({"--das", dir.path(), "--resume", dir / "a.txt"}).error.empty());
    EXPECT_FALSE(parse({"--das", dir.path(), "--resume", "--move"}).error.empty());
    EXPECT_TRUE(parse({"--das", dir.path(), "--resume"}).error.empty());
    EXPECT_FALSE(parse({"--das", dir.path(), "--resume", "--replace-interrupted"}).error.empty());
    EXPECT_TRUE(parse({"--das", dir.path(), "--replace-interrupted", dir / "a.txt"})
                    .options.replaceInterrupted);
}

TEST(CliOptions, HelpAndVersionNeedNothingElse) {
    EXPECT_TRUE(parse({"--help"}).options.help);
    EXPECT_TRUE(parse({"--help"}).error.empty());
    EXPECT_TRUE(parse({"--version"}).error.empty());
}

TEST(CliOptions, DasRecordHasOneMountedVolumePerFolder) {
    test::TempDir a, b;
    Options o;
    o.dasVolumes = {a.path(), b.path()};
    o.productName = "Drive";
    std::string error;
    const auto record = deviceRecordFor(o, error);
    ASSERT_TRUE(record) << error;
    EXPECT_EQ(record->string("deviceType"), "DAS");
    const Record* info = record->record("deviceInfo");
    ASSERT_TRUE(info);
    EXPECT_EQ(info->string("productName"), "Drive");
    const List* volumes = info->list("volumeArray");
    ASSERT_TRUE(volumes);
    ASSERT_EQ(volumes->size(), 2u);
    EXPECT_EQ((*volumes)[1].asRecord()->string("volumePath"), b.path());
    EXPECT_EQ((*volumes)[1].asRecord()->string("volumeName"), lastComponent(b.path()));
    EXPECT_TRUE((*volumes)[0].asRecord()->boolean("mounted"));

    o.dasVolumes = {a / "missing"};
    EXPECT_FALSE(deviceRecordFor(o, error));
    EXPECT_NE(error.find("no such volume folder"), std::string::npos);
}

TEST(CliOptions, AVolumeFolderMustBeAMountPoint) {
    const std::vector<std::string> mounts{"/", "/media/disk", "/media/other"};
    EXPECT_EQ(firstFolderNotMounted({"/media/disk", "/media/other"}, mounts), "");
    EXPECT_EQ(firstFolderNotMounted({"/media/disk", "/media/disk/sub", "/tmp"}, mounts),
              "/media/disk/sub");
    // Only the exact mount point counts, not a name that begins like one.
    EXPECT_EQ(firstFolderNotMounted({"/media/dis"}, mounts), "/media/dis");
    EXPECT_EQ(firstFolderNotMounted({}, mounts), "");
}

TEST(CliOptions, NasRecordCarriesAddressAndSerial) {
    Options o;
    o.nasAddress = "127.0.0.1:8080";
    o.serialNumber = "SN1";
    std::string error;
    const auto record = deviceRecordFor(o, error);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->string("deviceType"), "NAS");
    EXPECT_EQ(record->record("deviceInfo")->string("ipAddress"), "127.0.0.1:8080");
    EXPECT_EQ(record->record("deviceInfo")->string("serialNumber"), "SN1");
}

TEST(CliOptions, DeviceFileMustHoldADeviceRecord) {
    test::TempDir dir;
    Options o;
    std::string error;
    o.deviceFile = dir / "missing.plist";
    EXPECT_FALSE(deviceRecordFor(o, error));
    EXPECT_NE(error.find("cannot read"), std::string::npos);

    o.deviceFile = dir / "other.plist";
    ASSERT_TRUE(platform::writePropertyList(o.deviceFile, Value(Record{{"deviceType", "TV"}})));
    EXPECT_FALSE(deviceRecordFor(o, error));
    EXPECT_NE(error.find("deviceType"), std::string::npos);

    o.deviceFile = dir / "das.plist";
    const Record das = test::dasDevice({dir.path()});
    ASSERT_TRUE(platform::writePropertyList(o.deviceFile, Value(das)));
    const auto record = deviceRecordFor(o, error);
    ASSERT_TRUE(record) << error;
    EXPECT_EQ(*record, das);
}

// A disk's volume is known by its file system's UUID (a recorded upload says which disk it
// went to by it): a record that does not give it gets it from the volume, one that does keeps
// its own.
TEST(CliOptions, ADisksVolumesCarryTheirFileSystemsUuid) {
    test::TempDir work;
    mounttest::LoopVolume volume(work.path(), 16);
    ASSERT_TRUE(volume.ok()) << "no loop device for the ext4 image";
    const std::string drive = work / "Drive";
    std::filesystem::create_directories(drive);
    ASSERT_EQ(mount(volume.device().c_str(), drive.c_str(), "ext4", 0, nullptr), 0);
    const std::string uuid = platform::files().volumeFacts(drive).uuid;
    EXPECT_EQ(uuid.size(), 36u) << uuid;
    const auto uuidIn = [](const std::optional<Record>& record) {
        return record ? (*record->record("deviceInfo")->list("volumeArray"))[0].asRecord()->string(
                            "uuid")
                      : "no record";
    };
    Options o;
    o.dasVolumes = {drive};
    std::string error;
    EXPECT_EQ(uuidIn(deviceRecordFor(o, error)), uuid) << error;

    Options fromFile;
    fromFile.deviceFile = work / "das.plist";
    ASSERT_TRUE(platform::writePropertyList(fromFile.deviceFile, Value(test::dasDevice({drive}))));
    EXPECT_EQ(uuidIn(deviceRecordFor(fromFile, error)), uuid) << error;
    Record given = test::dasDevice({});
    Record info = *given.record("deviceInfo");
    info.set("volumeArray", List{Record{{"volumeName", "Drive"},
                                        {"volumePath", drive},
                                        {"mounted", true},
                                        {"uuid", "GIVEN-UUID"}}});
    given.set("deviceInfo", info);
    ASSERT_TRUE(platform::writePropertyList(fromFile.deviceFile, Value(given)));
    EXPECT_EQ(uuidIn(deviceRecordFor(fromFile, error)), "GIVEN-UUID") << error;
    umount2(drive.c_str(), MNT_DETACH);
}

TEST(CliOptions, ADeviceRecordLackingAKeyIsNamedForWhatItLacks) {
    const Record volume{{"volumeName", "Backup"}, {"volumePath", "/media/b"}, {"uuid", "U1"}};
    const struct {
        Record device;
        std::string lacks;
    } table[] = {
        {Record{{"deviceType", "DAS"}}, "deviceInfo dictionary"},
        {Record{{"deviceType", "DAS"}, {"deviceInfo", "oops"}}, "deviceInfo dictionary"},
        {Record{{"deviceType", "DAS"}, {"deviceInfo", Record{{"volumeArray", List{}}}}},
         "deviceInfo volumeArray with a named volume"},
        {Record{{"deviceType", "DAS"}, {"deviceInfo", Record{{"volumeArray", "Backup"}}}},
         "deviceInfo volumeArray with a named volume"},
        {Record{{"deviceType", "DAS"}, {"deviceInfo", Record{{"volumeArray", List{Value(3)}}}}},
         "deviceInfo volumeArray with a named volume"},
        {Record{{"deviceType", "NAS"}, {"deviceInfo", Record{{"serialNumber", "S1"}}}},
         "deviceInfo ipAddress"},
        {Record{{"deviceType", "NAS"},
                {"deviceInfo", Record{{"ipAddress", Value(7)}, {"serialNumber", "S1"}}}},
         "deviceInfo ipAddress"},
        {Record{{"deviceType", "NAS"}, {"deviceInfo", Record{{"ipAddress", "10.0.0.2"}}}},
         "deviceInfo serialNumber"},
        // Complete records lack nothing; an attached disk needs no serial number.
        {Record{{"deviceType", "DAS"}, {"deviceInfo", Record{{"volumeArray", List{volume}}}}}, ""},
        {Record{{"deviceType", "NAS"},
                {"deviceInfo", Record{{"ipAddress", "10.0.0.2"}, {"serialNumber", "S1"}}}},
         ""},
    };
    for (const auto& row : table) EXPECT_EQ(missingDeviceKey(row.device), row.lacks);
}

TEST(CliOptions, LastComponent) {
    EXPECT_EQ(lastComponent("/a/b/"), "b");
    EXPECT_EQ(lastComponent("/"), "/");
    EXPECT_EQ(lastComponent("name"), "name");
}
