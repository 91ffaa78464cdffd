#include "files/FileTree.h"

#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/Folder.h"
#include "tests/support/ConsoleLines.h"

namespace {

using namespace qov;
using Paths = std::vector<std::string>;
constexpr auto top = "NSFileProviderRootContainerItemIdentifier";
constexpr auto workingSet = "NSFileProviderWorkingSetContainerItemIdentifier";

/// An entry as the tests know it, apart from the classes tested. A table is in a walk's order.
struct Row {
    std::string path;
    bool isFolder = false, expanded = false;
};
using Rows = std::vector<Row>;

Rows randomRows(std::mt19937& random, int size, const std::string& prefix = "") {
    Rows rows;
    while (std::ssize(rows) < size) {
        rows.push_back({prefix + "n" + std::to_string(rows.size()), random() % 3 == 0});
        if (!rows.back().isFolder) continue;
        const auto room = static_cast<unsigned>(size - std::ssize(rows) + 1);
        const auto below =
            randomRows(random, static_cast<int>(random() % room), rows.back().path + "/");
        rows.insert(rows.end(), below.begin(), below.end());
    }
    return rows;
}

std::shared_ptr<File> entryOf(const Row& row, int number) {
    const auto entry = row.isFolder ? std::make_shared<Folder>() : std::make_shared<File>();
    entry->setSubpath(row.path);
    entry->isDirectory = row.isFolder;
    entry->attributes.set(platform::NSFileSystemFileNumber, platform::Number(number));
    return entry;
}

std::unique_ptr<FileTree> treeOf(const Rows& rows) {
    auto tree = std::make_unique<FileTree>();
    tree->root = std::make_shared<Folder>();
    tree->root->isDirectory = true;
    for (int number = 0; const auto& row : rows) {
        const auto entry = entryOf(row, number++);
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

/// From the table alone: rows below `above` (a path, or empty for the top) are hidden by any row on
/// their way that is not expanded.
Paths visible(const Rows& rows, const std::string& above) {
    Paths paths;
    for (const auto& row : rows) {
        bool seen = (row.path + "/").starts_with(above.empty() ? "" : above + "/");
        for (const auto& other : rows)
            if (other.path.size() >= above.size() && row.path.starts_with(other.path + "/"))
                seen = seen && other.expanded;
        if (seen) paths.push_back(row.path);
    }
    return paths;
}

TEST(RandomTree, ExpansionPagesAndPathsShowWhatTheTableContains) {
    const ConsoleLines console;
    std::mt19937 random(1);
    for (int round = 0; round < 8; ++round) {
        auto rows = randomRows(random, 100);
        const auto tree = treeOf(rows);
        for (int number = 0; auto& row : rows) {
            const bool wanted = random() % 2;
            row.expanded = row.isFolder && wanted;
            tree->findFileWithUID(std::to_string(number++))->File::setExpanded(wanted);
        }
        tree->makeExpandedList();
        EXPECT_EQ(shown(*tree), visible(rows, ""));
        for (int number = 0; const auto& row : Rows(rows)) {
            for (auto& other : rows) other.expanded = other.isFolder && other.path == row.path;
            const auto expected = row.isFolder ? visible(rows, row.path) : Paths();
            tree->root->_expanded = false;
            tree->makeExpandedPage(std::to_string(number));
            EXPECT_EQ(shown(*tree), expected) << row.path;
            EXPECT_FALSE(tree->root->_expanded);
            tree->makeExpandedPath(std::to_string(number++));
            EXPECT_EQ(shown(*tree), expected) << row.path;
            if (!row.isFolder) continue;
            // Now every folder above it is open, and nothing else.
            EXPECT_TRUE(tree->root->_expanded);
            for (auto& other : rows) other.expanded |= row.path.starts_with(other.path + "/");
            tree->makeExpandedList();
            EXPECT_EQ(shown(*tree), visible(rows, "")) << row.path;
        }
    }
}

// Numbered from 0 on: a, a/b, a/b/c, d.
TEST(SmallTree, ShowsAndPrintsWhatAnIdentifierNames) {
    ConsoleLines console;
    const auto tree = treeOf({{"a", true}, {"a/b", true}, {"a/b/c", false}, {"d", false}});
    const std::string expanded = "Root node was expanded.";
    const std::string notFound = "Warning: The file was not found.";
    struct Case {
        bool page;  // else the path
        std::string identifier;
        Paths list, lines;
    };
    tree->setExpanded(true);
    EXPECT_FALSE(tree->root->_expanded);
    for (const auto& [page, identifier, list, lines] :
         {Case{true, top, {"a", "d"}, {"FileTree: " + expanded}},
          Case{false, top, {"a", "d"}, {std::string("FileTree: (") + top + ") " + expanded}},
          Case{false,
               workingSet,
               {"a", "d"},
               {std::string("FileTree: (") + workingSet + ") " + expanded}},
          Case{true, workingSet, {}, {notFound}},
          Case{false, "1", {"a/b", "a/b/c"}, {"FileTree: The following folder was found:  1 b"}},
          Case{true,
               "2",
               {},
               {"FileTree: The following file was found:  2 c",
                "Warning: The file cannot become expanded."}},
          Case{false, "4", {}, {notFound}}}) {
        page ? tree->makeExpandedPage(identifier) : tree->makeExpandedPath(identifier);
        EXPECT_EQ(shown(*tree), list) << identifier;
        EXPECT_EQ(console.take(), lines) << identifier;
    }
    EXPECT_EQ(tree->findFileWithUID(top), tree->root);
    EXPECT_EQ(console.take().back(), std::string("FileTree: The file (root) was found :  ") + top);
    tree->root->children.clear();
    EXPECT_THAT(tree->xml(), testing::StartsWith("\n<folder path='' "));
    tree->basePath = "/x";
    tree->clearList();
    EXPECT_EQ(tree->list(), "\n<!-- file list -->\n<files basepath='/x'>\n</files>");
    const auto orphan = entryOf({"z", false}, 0);
    orphan->attributes = {};
    tree->append(orphan);
    EXPECT_THAT(tree->list(), testing::HasSubstr("'>\n\t<file id='-1' name='z' "));

    FileTree bare;  // without a root only the XML is fatal
    bare.append(orphan);
    EXPECT_EQ(bare.findParent(nullptr), nullptr);
    bare.dumpoutRoot();
    bare.makeExpandedPage("8");
    EXPECT_EQ(shown(bare), Paths{"z"});
    bare.makeExpandedPath("8");
    EXPECT_EQ(shown(bare), Paths());
    EXPECT_EQ(console.take(), Paths{notFound});
    EXPECT_DEATH((void)bare.xml(), "Fatal error");
}

}  // namespace
