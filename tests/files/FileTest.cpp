#include "files/File.h"

#include <gmock/gmock.h>

#include "files/Folder.h"
#include "tests/support/ConsoleLines.h"

namespace {

using namespace qov;
using platform::Date;
using platform::Number;

/// 2026-01-05 15:04:05 and 2026-07-05 15:04:05 UTC.
const platform::FileAttributes someAttributes{
    {platform::NSFileSize, Number(std::uint64_t{1234567})},
    {platform::NSFileCreationDate, Date::withTimeIntervalSince1970(1767625445)},
    {platform::NSFileModificationDate, Date::withTimeIntervalSince1970(1783263845)},
    {platform::NSFileSystemFileNumber, Number(std::uint64_t{42})}};
constexpr auto times = "created='Jan 5, 2026 at 3:04:05 PM' modified='Jul 5, 2026 at 3:04:05 PM' ";
constexpr auto noTimes = "created='(invalid attribute)' modified='(invalid attribute)' ";

std::shared_ptr<File> make(const std::string& subpath, std::shared_ptr<File> entry) {
    entry->setRootpath("/base");
    entry->setSubpath(subpath);
    entry->isDirectory = std::dynamic_pointer_cast<Folder>(entry) != nullptr;
    return entry;
}

TEST(File, TheDepthFollowsTheComponentsOfTheSubpath) {
    ConsoleLines console;
    const auto file = std::make_shared<File>();
    for (const auto& [subpath, depth] : {std::pair{"", -1}, {"a", 0}, {"music/set/a.wav", 2}}) {
        file->setSubpath(subpath);
        EXPECT_EQ(file->_indent, depth) << subpath;
    }
    EXPECT_EQ(file->getFileName() + file->getFileExtension(), "a.wavwav");
    EXPECT_EQ(file->getParentPath(), "music/set");
    file->dumpout();
    EXPECT_THAT(console.take(), testing::Each(testing::StartsWith("\t\t<")));
    file->setSubpath("");
    file->setRootpath("/home/somebody/music/");
    EXPECT_EQ(file->getFileName(), "music");
    EXPECT_DEATH(file->dumpout(), "Fatal error: .*negative");
}

TEST(File, WithoutAttributesTextsSaySoAndAMissingOneIsFatal) {
    EXPECT_FALSE(File().exists || File().isDirectory);
    const auto file = make("a", std::make_shared<File>());
    EXPECT_EQ(file->getFileSize(), Number(-1));
    EXPECT_EQ(file->getSystemFileNumberFormatted(), "(invalid attribute)");
    const Date before;
    const auto created = file->getCreationDate(), modified = file->getModificationDate();
    EXPECT_FALSE(created < before || Date() < modified);
    file->attributes.set(platform::NSFileSize, Date());  // the wrong type
    EXPECT_DEATH((void)file->getFileSizeFormatted(), "NSFileSize");
    EXPECT_DEATH((void)file->getSystemFileNumber(), "NSFileSystemFileNumber");
}

TEST(File, TextFormsKeepEveryByteAndEveryOddity) {
    setenv("TZ", "UTC", 1);
    tzset();
    const auto root = std::make_shared<Folder>(), set = std::make_shared<Folder>();
    const auto file = make("it's/<a>&\xff.wav", std::make_shared<File>());
    root->children = {make("it's", set)};
    set->children = {file};
    set->_expanded = true;
    set->attributes = file->attributes = someAttributes;

    const auto fileText = std::string("<file name='<a>&\xff.wav' size='1.2 MB' ") + times;
    std::string xml;
    make("", root)->xml(xml, 0);
    EXPECT_EQ(xml, std::string("\n<folder path='/base' expanded='false' ") + noTimes +
                       "depth='-1' >\n\t<folder subpath='it's' expanded='true' " + times +
                       "depth='0' >\n\t\t" + fileText + "depth='1' />\n\t</folder>\n</folder>");
    std::string list;
    set->list(list);
    file->list(list);
    EXPECT_EQ(list, std::string("<folder id='42' name 'it's' subpath='it's' ") + times +
                        "depth='0' />\t<file id='42' name='<a>&\xff.wav' size='1.2 MB' " + times +
                        "depth='1' />");
}

TEST(File, TheDumpHasOneLineAFieldInDeclaredOrder) {
    ConsoleLines console;
    const auto file = make("a", std::make_shared<File>());
    EXPECT_EQ(Folder().getID(), file->getID() + 1) << "numbered in the order of their creation";
    file->exists = true;
    file->FileBase::dumpout();
    file->dumpout();
    std::string lines;
    const auto item = "<item id=" + file->getIDFormatted();
    for (const auto& line : console.take()) {
        ASSERT_TRUE(line.starts_with(item)) << line;
        lines += line.substr(item.size()) + "\n";
    }
    EXPECT_THAT(lines, testing::StartsWith(
                           R"( _remote='false' _expanded='false' _selected='false' _indent='0' />
 filename='a' />
 uid=-1 parent='nil' rootpath='/base' subpath='a' exists=true isDirectory=false isWritable=false isReadeble=false isExecutable=false isDeleteble=false attributes='[:]' />
 label='uid' type='NSNumber' value=-1' />
 label='parent' type='Optional<File>' value=nil' />
 label='rootpath' type='String' value=/base' />
 label='subpath' type='String' value=a' />
 label='exists' type='Bool' value=true' />
 label='isDirectory' type='Bool' value=false' />
 label='isWritable' type='Bool' value=false' />
 label='isReadeble' type='Bool' value=false' />
 label='isExecutable' type='Bool' value=false' />
 label='isDeleteble' type='Bool' value=false' />
 label='attributes' type='Dictionary<)"));
}

TEST(File, ATreeIsFreedWithItsRootHoweverDeepItIs) {
    auto root = std::make_shared<Folder>();
    std::weak_ptr<Folder> last = root;
    for (int depth = 0; depth < 100'000; ++depth) {
        const auto child = std::make_shared<Folder>(), parent = last.lock();
        child->setParent(parent);
        parent->children = {child};
        last = child;
    }
    const auto kept = root->children[0];
    root.reset();
    EXPECT_EQ(kept->parent(), nullptr);
    std::dynamic_pointer_cast<Folder>(kept)->children.clear();
    EXPECT_TRUE(last.expired());
}

}  // namespace
