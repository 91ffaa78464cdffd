#include "dsp/ParameterAddress.h"
#include "tests/hosts/conformance/FormatTest.h"

namespace qov::test {
namespace {

class State : public FormatTest {
 protected:
    static std::vector<float> values(Plugin& plugin) {
        std::vector<float> all;
        for (std::uint64_t address = 0; address < 8; ++address)
            all.push_back(plugin.value(address));
        return all;
    }
    static inline const std::vector<float> other{0.1F, 1.0F / 3, 0.7F, 1, 1, 0, 1, 0};
    static void set(Plugin& plugin, const std::vector<float>& all) {
        for (std::uint64_t address = 0; address < all.size(); ++address)
            plugin.setValue(address, all[address]);
    }
};

TEST_P(State, OfOneRunIsRestoredInTheNextWithItsSound) {
    const auto signal = noise(5000);
    std::string saved;
    {
        const auto plugin = create();
        set(*plugin, other);
        saved = plugin->saveState();
    }
    for (const bool whileActive : {false, true}) {
        SCOPED_TRACE(whileActive);
        const auto plugin = create();
        const auto reference = createReference(48000, 512);
        EXPECT_TRUE(!whileActive || plugin->activate(48000, 512));
        EXPECT_TRUE(plugin->restoreState(saved));
        EXPECT_TRUE(whileActive || plugin->activate(48000, 512));
        EXPECT_EQ(values(*plugin), other);
        set(*reference, other);
        for (auto* effect : {plugin.get(), reference.get()}) {
            processAll(*effect, signal, 512);
            effect->reset();
        }
        EXPECT_EQ(difference(processAll(*plugin, signal, 512), processAll(*reference, signal, 512)),
                  "");
        EXPECT_EQ(plugin->saveState(), saved);
        EXPECT_TRUE(plugin->takeEdits().empty()) << "restoring is no edit";
    }
}

TEST_P(State, ThatIsDamagedChangesNothingOrGivesValuesInRange) {
    const auto plugin = create();
    set(*plugin, other);
    const auto whole = plugin->saveState();
    const auto initial = create()->saveState();
    ASSERT_NE(whole, initial);
    const auto victim = create();
    const auto restoreDamaged = [&](const std::string& bytes) {
        const auto before = values(*victim);
        const bool taken = victim->restoreState(bytes);
        ASSERT_TRUE(taken || values(*victim) == before) << "changed though refused";
        for (const float value : values(*victim)) ASSERT_TRUE(value >= 0 && value <= 1) << bytes;
    };
    for (std::size_t length = 0; length < whole.size(); ++length) {
        restoreDamaged(whole.substr(0, length));
        ASSERT_NE(values(*victim), other) << "restored although cut to " << length << " bytes";
    }
    auto later = whole;
    const auto version = later.find("state 1");
    ASSERT_NE(version, std::string::npos);
    later[version + 6] = '9';
    EXPECT_FALSE(victim->restoreState(later)) << "of a later version";
    EXPECT_TRUE(victim->restoreState(whole)) << "an undamaged one, after all that";
    EXPECT_EQ(values(*victim), other);
}

TEST_P(State, ValueTextsAreThePanelsAndAreReadBack) {
    if (!can().texts) GTEST_SKIP() << "the format has no texts";
    const auto plugin = createActive(48000, 64);
    struct Row {
        std::uint64_t address;
        float value;
        const char* text;
    };
    const Row rows[] = {{kStereoWidth, 0.6F, "+20 %"}, {kPanorama, 0.35F, "L 30 %"},
                        {kPanorama, 0.5F, "C"},        {kPhaseShift, 0.25F, "120 samples (2.5 ms)"},
                        {kTestMono, 1, "on"},          {kBypass, 0, "off"}};
    for (const auto& row : rows) {
        EXPECT_EQ(plugin->valueText(row.address, row.value), row.text);
        const auto value = plugin->parseValue(row.address, row.text);
        ASSERT_TRUE(value) << row.text;
        EXPECT_EQ(plugin->valueText(row.address, *value), row.text);
        EXPECT_FALSE(plugin->parseValue(row.address, "perhaps"));
    }
}

QOV_EVERY_FORMAT(State);

}  // namespace
}  // namespace qov::test
