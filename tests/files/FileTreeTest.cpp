#include <sys/stat.h>

#include <random>
#include <tuple>

#include <gmock/gmock.h>

#include "files/FileEnumerator.h"
#include "files/Folder.h"
#include "tests/support/ConsoleLines.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace qov;
const std::string top = "NSFileProviderRootContainerItemIdentifier";
const std::string workingSet = "NSFileProviderWorkingSetContainerItemIdentifier";

/// An entry as the tests know it, apart from the classes tested. A table is in a walk's order.
struct Row {
    std::string path;
    bool isFolder = false, expanded = false;
};
using Rows = std::vector<Row>;

Rows randomRows(std::mt19937& random) {
    Rows rows;
    for (std::string folder; rows.size() < 100;) {
        while (!folder.empty() && random() % 4 == 0)
            folder.resize(folder.rfind('/', folder.size() - 2) + 1);
        rows.push_back({folder + "n" + std::to_string(rows.size()), random() % 3 == 0});
        if (rows.back().isFolder) folder = rows.back().path + "/";
    }
    return rows;
}

std::unique_ptr<FileTree> treeOf(const Rows& rows) {
    auto tree = std::make_unique<FileTree>();
    tree->root = std::make_shared<Folder>();
    tree->root->isDirectory = true;
    for (int number = 0; const auto& row : rows) {
        const auto entry = row.isFolder ? std::make_shared<Folder>() : std::make_shared<File>();
        entry->setSubpath(row.path);
        entry->isDirectory = row.isFolder;
        entry->attributes.set(platform::NSFileSystemFileNumber, platform::Number(number++));
        tree->findParent(entry);
        tree->append(entry);
    }
    return tree;
}

/// The paths of the list, each behind a blank.
std::string shown(const FileTree& tree) {
    std::string paths;
    for (const auto& entry : tree.filelist()) paths += " " + entry->subpath();
    return paths;
}

/// The same from the table alone: rows below `above` (a path, or empty for the top) are hidden by
/// any row on their way that is not expanded.
std::string visible(const Rows& rows, const std::string& above) {
    std::string paths;
    for (const auto& row : rows) {
        bool seen = (row.path + "/").starts_with(above.empty() ? "" : above + "/");
        for (const auto& other : rows)
            if (other.path.size() >= above.size() && row.path.starts_with(other.path + "/"))
                seen = seen && other.expanded;
        if (seen) paths += " " + row.path;
    }
    return paths;
}

TEST(FileTree, ExpansionPagesAndPathsShowWhatTheTableContains) {
    const ConsoleLines console;
    std::mt19937 random(1);
    for (int round = 0; round < 8; ++round) {
        auto rows = randomRows(random);
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
            const auto expected = row.isFolder ? visible(rows, row.path) : "";
            tree->root->_expanded = false;
            tree->makeExpandedPage(std::to_string(number));
            EXPECT_EQ(shown(*tree), expected) << row.path;
            EXPECT_FALSE(tree->root->_expanded);
            tree->makeExpandedPath(std::to_string(number++));
            EXPECT_EQ(shown(*tree), expected) << row.path;
            EXPECT_EQ(tree->root->_expanded, row.isFolder);
            // Now every folder above it is open, and nothing else.
            for (auto& other : rows)
                other.expanded |= row.isFolder && row.path.starts_with(other.path + "/");
            tree->makeExpandedList();
            EXPECT_EQ(shown(*tree), visible(rows, "")) << row.path;
        }
    }
}

// Numbered from 0 on: a, a/b, a/b/c, d.
TEST(FileTree, ShowsAndPrintsWhatAnIdentifierNames) {
    ConsoleLines console;
    const auto tree = treeOf({{"a", true}, {"a/b", true}, {"a/b/c", false}, {"d", false}});
    const std::string notFound = "Warning: The file was not found.",
                      tag = "FileTree: ", expanded = "Root node was expanded.";
    tree->setExpanded(true);
    EXPECT_FALSE(tree->root->_expanded);
    const auto page = &FileTree::makeExpandedPage, path = &FileTree::makeExpandedPath;
    for (const auto& [make, identifier, list, lines] :
         {std::tuple{page, top, " a d", tag + expanded},
          {path, top, " a d", tag + "(" + top + ") " + expanded},
          {path, workingSet, " a d", tag + "(" + workingSet + ") " + expanded},
          {page, workingSet, "", notFound},
          {path, "1", " a/b a/b/c", tag + "The following folder was found:  1 b"},
          {page, "2", "",
           tag + "The following file was found:  2 c|"
                 "Warning: The file cannot become expanded."},
          {path, "4", "", notFound}}) {
        ((*tree).*make)(identifier);
        EXPECT_EQ(shown(*tree), list) << identifier;
        EXPECT_EQ(console.taken(), lines) << identifier;
    }
    EXPECT_EQ(tree->findFileWithUID(top), tree->root);
    EXPECT_EQ(console.taken(), tag + "The file (root) was found :  " + top);
    tree->basePath = "/x";
    EXPECT_EQ(tree->list(), "\n<!-- file list -->\n<files basepath='/x'>\n</files>");
    const auto orphan = std::make_shared<File>();
    orphan->setSubpath("z");
    tree->append(orphan);
    EXPECT_THAT(tree->list(),
                testing::HasSubstr("'>\n\t<file id='-1' name='z' size='(invalid attribute)' "));

    FileTree bare;  // without a root only the XML is fatal
    bare.append(orphan);
    bare.makeExpandedPage("8");
    EXPECT_EQ(shown(bare), " z");
    bare.makeExpandedPath("8");
    EXPECT_EQ(shown(bare), "");
    EXPECT_EQ(console.taken(), notFound);
    EXPECT_DEATH((void)bare.xml(), "Fatal error");
}

const std::string end = "WARNUNG: Unbekannter Typ des Dateiobjektes oder <nil>.";

class Enumerating : public testing::Test {
 protected:
    ConsoleLines console;
    TemporaryFolder folder;
    FileEnumerator enumerator;
    FileTree& tree = *enumerator.fileTree;
};

TEST_F(Enumerating, LinksEntriesToTheirFoldersAndStopsWhereTheFolderCannotBeEntered) {
    enumerator.enumerate(folder / "none");
    EXPECT_EQ(console.taken(), "Error: Could not set current path '" + (folder / "none") +
                                   "' for the file manager.");
    EXPECT_EQ(tree.root, nullptr);
    folder.file("music/set/a.wav");
    folder.file("b\n'<\xff>");
    folder.folder("empty");
    folder.link("music", "link");
    folder.link(".", "loop");
    folder.link("no file", "nowhere");
    enumerator.enumerate(folder.path() + "/");
    EXPECT_EQ(shown(tree), " b\n'<\xff> empty link loop music music/set music/set/a.wav nowhere");
    EXPECT_EQ(console.taken(), end);
    EXPECT_EQ(tree.basePath, std::filesystem::canonical(folder.path()));
    EXPECT_EQ(tree.root->rootpath(), folder.path() + "/");
    EXPECT_TRUE(tree.root->_expanded && tree.root->isReadeble && tree.root->_indent == 0);

    const auto& list = tree.filelist();
    const auto file = list.at(6);
    EXPECT_EQ(file->parent(), list.at(5));
    EXPECT_EQ(file->parent()->parent()->parent(), tree.root);
    EXPECT_EQ(file->uid, file->getSystemFileNumber());
    EXPECT_TRUE(list.at(2)->isDirectory);  // a link to a folder, without children
    EXPECT_TRUE(std::dynamic_pointer_cast<Folder>(list.at(2))->children.empty());
    EXPECT_FALSE(list.back()->exists || list.back()->isReadeble || list.back()->isDirectory);
}

TEST_F(Enumerating, RemovesLitterWithEverythingInItAndNotWhatALinkPointsTo) {
    for (const auto* name : {"__MACOSX/deep/file", "kept/.DS_Store", "kept/a.DS_Store.txt",
                             "kept/x", "locked/x", "safe/.DS_Store"})
        folder.file(name);
    folder.link("../kept", "kept/__MACOSX link");
    for (const auto* name : {"", "kept", "__MACOSX", "__MACOSX/deep"})
        chmod((folder / name).c_str(), 0777);
    chmod((folder / "safe").c_str(), 0555);
    chmod((folder / "locked").c_str(), 0444);
    {
        const WithoutPrivileges nobody;
        enumerator.enumerate(folder.path());
    }
    EXPECT_EQ(shown(tree), " kept kept/x locked locked/x safe");
    EXPECT_EQ(tree.filelist().at(3)->uid, platform::Number(-1));
    EXPECT_EQ(console.taken(),
              "Error Domain=NSCocoaErrorDomain Code=257 \"The file “x” couldn’t be opened because "
              "you don’t have permission to view it.\"|“.DS_Store” couldn’t be removed because you "
              "don’t have permission to access it.|" +
                  end);
    EXPECT_THAT(folder.files(), testing::ElementsAre("kept", "locked", "safe"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "kept"), {}), 1);
}

}  // namespace
