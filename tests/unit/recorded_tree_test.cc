#include "recording/replay/recorded_tree.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using recording::RecordedHostData;
using recording::RecordedTree;

RecordedTree treeWith(const std::function<void(RecordedHostData&)>& add) {
    RecordedHostData data;
    add(data);
    return RecordedTree(std::move(data));
}

// Whatever is recorded makes the directories above it be there, each of them.
TEST(RecordedTree, EveryDirectoryAboveWhatIsRecordedIsInhabited) {
    const std::pair<const char*, std::function<void(RecordedHostData&)>> kinds[] = {
        {"file", [](RecordedHostData& data) { data.files["/a/b/c/x"] = "text"; }},
        {"directory", [](RecordedHostData& data) { data.directories["/a/b/c/x/"] = {}; }},
        {"unreadable", [](RecordedHostData& data) { data.directoryErrors["/a/b/c/x/"] = EACCES; }},
        {"device", [](RecordedHostData& data) { data.devices["/a/b/c/x"] = {}; }},
        {"link", [](RecordedHostData& data) { data.links["/a/b/c/x"] = "/elsewhere"; }},
    };
    for (const auto& [kind, add] : kinds) {
        const RecordedTree tree = treeWith(add);
        for (const char* const above : {"/a", "/a/b", "/a/b/c", "/a/b/c/"}) {
            EXPECT_TRUE(tree.isInhabited(above)) << kind << " " << above;
        }
        for (const char* const other : {"/a/b/c/x", "/a/b/d", "/b", "/elsewhere"}) {
            EXPECT_FALSE(tree.isInhabited(other)) << kind << " " << other;
        }
    }
}

TEST(RecordedTree, FilesOfSeveralDirectoriesHaveTheirOwnAbove) {
    const RecordedTree tree = treeWith([](RecordedHostData& data) {
        for (const char* const path : {"/a/b/x", "/a/b/y", "/a/c/x", "/a/x", "/d/e/x", "/z"}) {
            data.files[path] = "text";
        }
    });
    for (const char* const above : {"/a", "/a/b", "/a/c", "/d", "/d/e"}) {
        EXPECT_TRUE(tree.isInhabited(above)) << above;
    }
    EXPECT_FALSE(tree.isInhabited("/z"));
}

TEST(RecordedTree, WhatWasLookedForInVainMakesNoDirectory) {
    const RecordedTree tree = treeWith([](RecordedHostData& data) {
        data.files["/a/x"].error = ENOENT;
        data.files["/b/x"].error = EACCES;
    });
    EXPECT_FALSE(tree.isInhabited("/a"));
    EXPECT_TRUE(tree.isInhabited("/b"));
    EXPECT_EQ(tree.find("/a/x").error, ENOENT);
    EXPECT_NE(tree.find("/b/x").file, nullptr);
}

TEST(RecordedTree, ADirectoryThatCannotBeListedKeepsWhatIsKnownOfIt) {
    const RecordedTree tree = treeWith([](RecordedHostData& data) {
        data.directories["/a/"] = {"x"};
        data.directoryErrors["/a/"] = EIO;
        data.directoryErrors["/b/"] = EACCES;
    });
    const RecordedTree::Entry listed = tree.find("/a");
    ASSERT_NE(listed.directory, nullptr);
    EXPECT_EQ(*listed.directory, std::vector<std::string>{"x"});
    EXPECT_EQ(listed.directoryError, EIO);
    const RecordedTree::Entry refused = tree.find("/b/");
    ASSERT_NE(refused.directory, nullptr);
    EXPECT_TRUE(refused.directory->empty());
    EXPECT_EQ(refused.directoryError, EACCES);
}

TEST(RecordedTree, TwoPointsLeadToTheDirectoryAbove) {
    const RecordedTree tree = treeWith([](RecordedHostData& data) {
        data.files["/a/b/x"] = "text";
        data.files["/y"] = "text";
    });
    for (const char* const path : {"/a/b/../b/x", "/a/../a/b/x", "/../a/b/x", "/a//b/./x"}) {
        EXPECT_NE(tree.find(path).file, nullptr) << path;
    }
    EXPECT_NE(tree.find("/a/b/../../y").file, nullptr);
    EXPECT_EQ(tree.find("/c/../y").error, ENOENT) << "there is no /c";
    EXPECT_EQ(tree.find("/y/x").error, ENOTDIR);
    EXPECT_EQ(tree.find("a/b/x").error, ENOENT);
    EXPECT_EQ(tree.find("").error, ENOENT);
}

}  // namespace
