#include "files/File.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/Folder.h"
#include "tests/support/ConsoleLines.h"

namespace {

using namespace qov;
using platform::Date;
using platform::Number;

/// 2026-01-05 15:04:05 and 2026-07-05 15:04:05 UTC; the tests run in that zone.
const platform::FileAttributes someAttributes{
    {platform::NSFileSize, Number(std::uint64_t{1234567})},
    {platform::NSFileCreationDate, Date::withTimeIntervalSince1970(1767625445)},
    {platform::NSFileModificationDate, Date::withTimeIntervalSince1970(1783263845)},
    {platform::NSFileSystemFileNumber, Number(std::uint64_t{42})}};
constexpr auto times = "created='Jan 5, 2026 at 3:04:05 PM' modified='Jul 5, 2026 at 3:04:05 PM' ";
constexpr auto noTimes = "created='(invalid attribute)' modified='(invalid attribute)' ";

template <class Entry>
std::shared_ptr<Entry> make(const std::string& subpath) {
    auto entry = std::make_shared<Entry>();
    entry->setRootpath("/base");
    entry->setSubpath(subpath);
    entry->isDirectory = std::is_same_v<Entry, Folder>;
    return entry;
}

std::string listed(const File& file) {
    std::string text;
    file.list(text);
    return text;
}

class FileModel : public testing::Test {
 protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
    }
    ConsoleLines console;
};

TEST_F(FileModel, TheDepthFollowsTheComponentsOfTheSubpath) {
    const auto file = std::make_shared<File>();
    for (const auto& [subpath, depth] : {std::pair{"", -1}, {"a", 0}, {"music/set/a.wav", 2}}) {
        file->setSubpath(subpath);
        EXPECT_EQ(file->_indent, depth) << subpath;
    }
    EXPECT_EQ(file->getFileName() + file->getFileExtension(), "a.wavwav");
    EXPECT_EQ(file->getParentPath(), "music/set");
    file->dumpout();
    for (const auto& line : console.take()) EXPECT_EQ(line.substr(0, 3), "\t\t<");
    file->setSubpath("");
    file->setRootpath("/home/somebody/music/");
    EXPECT_EQ(file->getFileName(), "music");
    EXPECT_DEATH(file->dumpout(), "Fatal error: .*negative");
}

TEST_F(FileModel, WithoutAttributesNumbersAreMinusOneAndTextsSaySo) {
    EXPECT_FALSE(File().exists || File().isDirectory);
    const auto file = make<File>("a");
    EXPECT_EQ(file->getFileSize(), Number(-1));
    EXPECT_EQ(file->getSystemFileNumberFormatted(), "(invalid attribute)");
    EXPECT_EQ(listed(*file), std::string("<file id='-1' name='a' size='(invalid attribute)' ") +
                                 noTimes + "depth='0' />");
    const Date before;
    const auto created = file->getCreationDate(), modified = file->getModificationDate();
    EXPECT_FALSE(created < before || Date() < modified);
}

TEST_F(FileModel, AMissingOrMistypedAttributeIsFatal) {
    const auto file = make<File>("a");
    file->attributes.set(platform::NSFileSize, Date());
    EXPECT_DEATH((void)file->getFileSizeFormatted(), "NSFileSize");
    EXPECT_DEATH((void)file->getCreationDate(), "NSFileCreationDate");
    EXPECT_DEATH((void)file->getSystemFileNumber(), "NSFileSystemFileNumber");
}

TEST_F(FileModel, TextFormsKeepEveryByteAndEveryOddity) {
    const auto root = make<Folder>("");
    const auto set = make<Folder>("it's");
    const auto file = make<File>("it's/<a>&\xff.wav");
    root->children = {set};
    set->children = {file};
    set->_expanded = true;
    for (const auto& entry : {std::static_pointer_cast<File>(set), file})
        entry->attributes = someAttributes;

    const auto fileText = std::string("<file name='<a>&\xff.wav' size='1.2 MB' ") + times;
    std::string xml;
    root->xml(xml, 0);
    EXPECT_EQ(xml, std::string("\n<folder path='/base' expanded='false' ") + noTimes +
                       "depth='-1' >\n\t<folder subpath='it's' expanded='true' " + times +
                       "depth='0' >\n\t\t" + fileText + "depth='1' />\n\t</folder>\n</folder>");
    EXPECT_EQ(listed(*set),
              std::string("<folder id='42' name 'it's' subpath='it's' ") + times + "depth='0' />");
    EXPECT_EQ(listed(*file), std::string("\t<file id='42' name='<a>&\xff.wav' size='1.2 MB' ") +
                                 times + "depth='1' />");
    EXPECT_DEATH(file->xml(xml, -1), "Fatal error");
}

TEST_F(FileModel, TheDumpHasOneLineAFieldInDeclaredOrder) {
    const auto file = make<File>("a");
    EXPECT_EQ(Folder().getID(), file->getID() + 1) << "numbered in the order of their creation";
    file->exists = true;
    file->FileBase::dumpout();
    file->dumpout();
    std::string lines;
    const auto item = "<item id=" + file->getIDFormatted();
    for (const auto& line : console.take()) {
        EXPECT_TRUE(line.starts_with(item) && line.ends_with(" />")) << line;
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

TEST_F(FileModel, ATreeIsFreedWithItsRootHoweverDeepItIs) {
    auto root = make<Folder>("");
    std::weak_ptr<Folder> last = root;
    for (int depth = 0; depth < 100'000; ++depth) {
        const auto child = std::make_shared<Folder>(), parent = last.lock();
        child->setParent(parent);
        parent->children = {child};
        last = child;
    }
    const auto kept = std::make_shared<File>();
    kept->setParent(root);
    root->children.push_back(kept);
    root.reset();
    EXPECT_TRUE(last.expired());
    EXPECT_EQ(kept->parent(), nullptr);
}

}  // namespace
