#include "files/FileTree.h"

#include <map>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/Folder.h"
#include "tests/files/CapturedLines.h"

namespace {

using namespace qov;
using testing::ElementsAre;
using Paths = std::vector<std::string>;

/// What the tests know of an entry: a table in the order of a walk, apart from the classes tested.
struct Row {
    std::string path;
    int number = 0;
    int parent = -1;  // index of a row, -1 at the top
    bool isFolder = false;
    bool expanded = false;
};

std::vector<Row> randomRows(unsigned seed, int size) {
    std::mt19937 random(seed);
    std::vector<Row> rows;
    for (int i = 0; i < size; ++i) {
        // A parent that is still open: the last row or one of its ancestors.
        std::vector<int> open{-1};
        for (int at = i - 1; at >= 0; at = rows[static_cast<std::size_t>(at)].parent)
            if (rows[static_cast<std::size_t>(at)].isFolder) open.push_back(at);
        const int parent = open[random() % open.size()];
        std::string path;
        if (parent >= 0) path.append(rows[static_cast<std::size_t>(parent)].path).append("/");
        path.append("n").append(std::to_string(i));
        rows.push_back({path, 1000 + i, parent, random() % 3 == 0});
    }
    return rows;
}

std::shared_ptr<File> entryOf(const Row& row) {
    const auto entry = row.isFolder ? std::make_shared<Folder>() : std::make_shared<File>();
    entry->setSubpath(row.path);
    entry->isDirectory = row.isFolder;
    entry->attributes.set(platform::NSFileSystemFileNumber, platform::Number(row.number));
    return entry;
}

std::unique_ptr<FileTree> treeOf(const std::vector<Row>& rows) {
    auto tree = std::make_unique<FileTree>();
    tree->root = std::make_shared<Folder>();
    tree->root->isDirectory = true;
    for (const auto& row : rows) {
        const auto entry = entryOf(row);
        tree->findParent(entry);
        tree->append(entry);
    }
    return tree;
}

Paths shown(const FileTree& tree) {
    Paths paths;
    for (const auto& entry : tree.filelist()) paths.push_back(entry->subpath());
    return paths;
}

/// From the table alone: a row shows if all rows above it up to `top` are expanded.
Paths visible(const std::vector<Row>& rows, int top) {
    Paths paths;
    for (const auto& row : rows) {
        int above = row.parent;
        const bool isTop = &row == rows.data() + top;
        while (!isTop && above >= 0 && above != top &&
               rows[static_cast<std::size_t>(above)].expanded)
            above = rows[static_cast<std::size_t>(above)].parent;
        const bool below =
            above == top && (top < 0 || rows[static_cast<std::size_t>(top)].expanded);
        if (isTop || below) paths.push_back(row.path);
    }
    return paths;
}

class RandomTree : public testing::TestWithParam<unsigned> {
 protected:
    CapturedLines console;
};

TEST_P(RandomTree, ExpansionPagesAndPathsShowWhatTheTableSays) {
    auto rows = randomRows(GetParam(), 120);
    const auto tree = treeOf(rows);
    const auto expandOnly = [&](int index) {
        for (auto& row : rows) row.expanded = false;
        if (index >= 0) rows[static_cast<std::size_t>(index)].expanded = true;
    };

    std::mt19937 random(GetParam() + 1);
    for (auto& row : rows) {
        const bool wanted = random() % 2;
        row.expanded = row.isFolder && wanted;
        const auto found = tree->findFileWithUID(std::to_string(row.number));
        ASSERT_TRUE(found);
        ASSERT_EQ(found->subpath(), row.path);
        found->File::setExpanded(wanted);
    }
    tree->makeExpandedList();
    EXPECT_EQ(shown(*tree), visible(rows, -1));

    for (int i = 0; i < std::ssize(rows); ++i) {
        const auto& row = rows[static_cast<std::size_t>(i)];
        const auto number = std::to_string(row.number);
        expandOnly(row.isFolder ? i : -1);
        const auto expected = row.isFolder ? visible(rows, i) : Paths();
        tree->makeExpandedPage(number);
        EXPECT_EQ(shown(*tree), expected) << row.path;
        tree->root->_expanded = false;
        tree->makeExpandedPath(number);
        EXPECT_EQ(shown(*tree), expected) << row.path;
        if (!row.isFolder) continue;
        // Now every folder above it is open, and nothing else.
        EXPECT_TRUE(tree->root->_expanded);
        for (int at = row.parent; at >= 0; at = rows[static_cast<std::size_t>(at)].parent)
            rows[static_cast<std::size_t>(at)].expanded = true;
        tree->makeExpandedList();
        EXPECT_EQ(shown(*tree), visible(rows, -1)) << row.path;
    }
}

TEST_P(RandomTree, ParentsAreThoseOfTheNaiveSearch) {
    // Lists that no walk makes: names that repeat, files in the place of folders, replaced lists.
    std::mt19937 random(GetParam());
    const auto name = [&] { return std::string(1, "abc"[random() % 3]); };
    FileTree tree;
    tree.root = std::make_shared<Folder>();
    for (int i = 0; i < 400; ++i) {
        auto path = name();
        while (random() % 3) path.append("/").append(name());
        const auto entry = entryOf({path, i, -1, random() % 2 == 0});
        std::shared_ptr<File> expected =
            path.find('/') == path.npos ? std::static_pointer_cast<File>(tree.root) : nullptr;
        for (const auto& listed : tree.filelist())
            if (path.size() > 1 && dynamic_cast<Folder*>(listed.get()) &&
                listed->subpath() == path.substr(0, path.size() - 2))
                expected = listed;
        EXPECT_EQ(tree.findParent(entry), expected);
        EXPECT_EQ(entry->parent(), expected);
        if (expected) {
            EXPECT_EQ(std::static_pointer_cast<Folder>(expected)->children.back(), entry);
        }
        tree.append(entry);
        if (random() % 50 == 0)
            tree.setFilelist({tree.filelist().begin() + 1, tree.filelist().end()});
        if (random() % 100 == 0) tree.makeExpandedList();
        if (random() % 150 == 0) tree.clearList();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomTree, testing::Range(1u, 9u));

class SmallTree : public testing::Test {
 protected:
    CapturedLines console;
    std::unique_ptr<FileTree> tree = treeOf(
        {{"a", 7, -1, true}, {"a/b", 8, 0, true}, {"a/b/c", 9, 1, false}, {"d", 10, -1, false}});
};

TEST_F(SmallTree, AnnouncesWhatItFindsAndWhatItDoesNot) {
    constexpr auto root = "NSFileProviderRootContainerItemIdentifier";
    EXPECT_EQ(tree->findFileWithUID(root), tree->root);
    EXPECT_THAT(console.take(),
                ElementsAre(std::string("FileTree: The file (root) was found :  ") + root));
    EXPECT_EQ(tree->findFileWithUID("11"), nullptr);
    EXPECT_THAT(console.take(), ElementsAre());
    EXPECT_EQ(tree->findFileWithUID("8")->subpath(), "a/b");
    EXPECT_THAT(console.take(), ElementsAre("FileTree: The following folder was found:  8 b"));
    tree->makeExpandedPage("9");
    EXPECT_THAT(console.take(), ElementsAre("FileTree: The following file was found:  9 c",
                                            "Warning: The file cannot become expanded."));
    tree->makeExpandedPath("nobody");
    EXPECT_THAT(console.take(), ElementsAre("Warning: The file was not found."));
}

TEST_F(SmallTree, ShowsTheTopByTheContainersOfAFileProvider) {
    constexpr auto root = "NSFileProviderRootContainerItemIdentifier";
    constexpr auto working = "NSFileProviderWorkingSetContainerItemIdentifier";
    const Paths top{"a", "d"};
    tree->setExpanded(true);
    EXPECT_FALSE(tree->root->_expanded);
    tree->makeExpandedPage(root);
    EXPECT_EQ(shown(*tree), top);
    tree->makeExpandedPath(root);
    EXPECT_EQ(shown(*tree), top);
    tree->makeExpandedPath(working);
    EXPECT_EQ(shown(*tree), top);
    EXPECT_TRUE(tree->root->_expanded);
    tree->makeExpandedPage(working);  // which has no page
    EXPECT_EQ(shown(*tree), Paths());
    EXPECT_THAT(console.take(),
                ElementsAre("FileTree: Root node was expanded.",
                            std::string("FileTree: (") + root + ") Root node was expanded.",
                            std::string("FileTree: (") + working + ") Root node was expanded.",
                            "Warning: The file was not found."));
    tree->makeExpandedPath("8");
    EXPECT_EQ(shown(*tree), (Paths{"a/b", "a/b/c"}));
}

TEST_F(SmallTree, WritesItsListAndNeedsARootForItsXml) {
    tree->basePath = "/x";
    tree->clearList();
    EXPECT_EQ(tree->list(), "\n<!-- file list -->\n<files basepath='/x'>\n</files>");
    const auto orphan = entryOf({"z", 1, -1, false});
    orphan->attributes = {};
    tree->append(orphan);
    EXPECT_THAT(tree->list(), testing::HasSubstr("'>\n\t<file id='-1' name='z' "));
    FileTree bare;
    bare.append(orphan);
    EXPECT_EQ(bare.findParent(nullptr), nullptr);
    bare.dumpoutRoot();
    bare.makeExpandedPage("8");
    EXPECT_EQ(shown(bare), Paths{"z"});
    EXPECT_THAT(console.take(), ElementsAre());
    bare.makeExpandedPath("8");
    EXPECT_EQ(shown(bare), Paths());
    EXPECT_THAT(console.take(), ElementsAre("Warning: The file was not found."));
    EXPECT_DEATH((void)bare.xml(), "Fatal error");
}

}  // namespace
