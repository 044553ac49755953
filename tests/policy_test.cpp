// What the policy reads and writes: machine ids, switches, the user's answer and the deployment's settings.
#include "statistic_impl/consent.h"
#include "statistic_impl/deployment.h"
#include "statistic_impl/machine_id.h"
#include "statistic_impl_ga/statistic_impl_ga.h"
#include "support/log_capture.h"
#include "support/profile.h"

#include <set>

using namespace test_support;
using namespace OSTREL_NAMESPACE;

namespace {

struct policy : testing::Test {
    const profile_t profile;
};

} // namespace

TEST_F(policy, new_machine_ids_are_random_in_every_digit) {
    for (const std::size_t place : {0, 4, 9, 14, 19, 24, 28, 32}) {
        SCOPED_TRACE(place);
        std::set<std::wstring> digits;
        for (int i = 0; i < 4000; ++i)
            digits.insert(generate_uuid().substr(place, 4));
        EXPECT_GT(digits.size(), 3750U); // about 3880 of 65,536; 3550 if two bits are the same in each id
    }
}

TEST_F(policy, an_id_that_cannot_be_stored_changes_with_every_object) {
    fs::create_directories(profile.statistic_dir() / "uuid.xml" / "in the way");
    const auto id_in_use = [] { return statistic_impl_ga_t(L"product", L"1").get_uuid(); };
    const std::wstring first = id_in_use();
    EXPECT_EQ(first.size(), 36U);
    EXPECT_NE(id_in_use(), first);
}

TEST_F(policy, each_switch_overrides_the_lower_ones_whatever_its_value) {
    const struct {
        std::string variable, value, state_name;
        int state;
        virk_state_t consent;
        bool is_sending_disabled;
    } rising[] = {{"NORVANE_FORCE_FEEDBACK", "no", "evsEnabledForced", 1, vsEnabled, false},
                  {"NORVANE_DISABLE_FEEDBACK", " ", "evsDisabled", 3, vsDisabled, false},
                  {"NORVANE_DONOTSEND_FEEDBACK", "false", "evsDisabled", 3, vsDisabled, true},
                  {"NORVANE_STATISTICS_DISABLE", "1", "evsDisabled", 3, vsDisabled, true}};
    for (const auto& one : rising) {
        SCOPED_TRACE(one.variable);
        profile.set(one.variable, one.value);
        // Created last: its thread reads the environment, which must not change meanwhile.
        const statistic_impl_ga_t statistic(L"product", L"1");
        log_capture_t capture;
        EXPECT_EQ(statistic_impl_t::get_env_vars_state(), one.state);
        EXPECT_EQ(capture.texts(), traced_switches(one.state_name + "' - " + one.variable + " is set"));
        EXPECT_EQ(statistic.get_consent_state(), one.consent);
        capture.clear();
        EXPECT_EQ(statistic.is_send_files_disabled(), one.is_sending_disabled);
        EXPECT_EQ(capture.texts(),
                  traced("bool " + library + "statistic_impl_t::is_send_files_disabled() const",
                         {one.is_sending_disabled ? "Return 'true' - NORVANE_DONOTSEND_FEEDBACK is enabled"
                                                  : "Return 'false'"}));
    }
}

TEST_F(policy, only_the_word_1_at_the_start_of_the_file_is_consent) {
    const std::string almost_a_block(255, '\n'); // the file is read in blocks of 256 bytes
    const std::pair<virk_state_t, texts_t> cases[] = {
        {vsEnabled, {"1", " \t\r\n1\n", "1 0", std::string(5000, '\n') + "1 ", almost_a_block + "1 "}},
        {vsDisabled,
         {"0", "01", "10", "", " \n", std::string("1\0", 2), "1.0", "0 1", "\xEF\xBB\xBF\x31",
          almost_a_block + "10"}}};
    for (const auto& [state, contents] : cases)
        for (const std::string& content : contents) {
            SCOPED_TRACE(content);
            write_file(profile.virk(), content);
            EXPECT_EQ(read_consent(wide(profile.virk())), state);
        }
    EXPECT_EQ(read_consent(fs::exists("/dev/null") ? L"/dev/null" : L"NUL"), vsDisabled);
    EXPECT_EQ(read_consent(wide(profile.folder())), vsUnknown);
}

TEST_F(policy, nothing_is_written_without_a_consent_path) {
    const fs::path former = fs::current_path(), draft = profile.folder() / ".tmp";
    write_file(draft, "the host's");
    fs::current_path(profile.folder());
    EXPECT_FALSE(write_consent(L"", true));
    fs::current_path(former);
    EXPECT_EQ(read_file(draft), "the host's");
}

TEST_F(policy, a_deployment_may_replace_the_endpoint_and_the_domain) {
    profile.set("OSTREL_CORPORATE_DOMAIN", "");
    EXPECT_EQ(corporate_domain(), "corp.norvane.example");
    EXPECT_EQ(collection_url(), "http://www.google-analytics.com/collect");
    profile.set("OSTREL_CORPORATE_DOMAIN", "d\xC3\xA9");
    profile.set("OSTREL_COLLECTION_URL", "http://c");
    EXPECT_EQ(corporate_domain(), "d\xC3\xA9");
    EXPECT_EQ(collection_url(), "http://c");
}
