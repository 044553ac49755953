// "ostrelctl watch" where only Windows has the situation: exit codes of 32 bits and batch files.
#include "support/profile.h"
#include "support/programs.h"

#include <gtest/gtest.h>

using namespace test_support;

TEST(watch_on_windows, the_exit_code_keeps_its_32_bits) {
    const profile_t profile;
    for (const long long code : {256LL, 3221225477LL}) // the second is the one of an access violation
        EXPECT_EQ(run_program({OSTRELCTL, "watch", "--", WATCHED, "exit=" + std::to_string(code)}).status,
                  code);
}

TEST(watch_on_windows, batch_files_take_no_characters_that_the_command_processor_reads) {
    const profile_t profile;
    const std::string batch = (profile.folder() / "run.cmd").u8string();
    write_file(batch, "@echo got %1\r\n@exit /b 5\r\n");
    const finished_t plain = run_program({OSTRELCTL, "watch", "--", batch, "a-b.c"});
    EXPECT_EQ(plain.errors.substr(0, 11), "got a-b.c\r\n") << plain.errors;
    EXPECT_EQ(plain.status, 5);
    for (const char* const argument : {"a&b", "\"", "%PATH%", "a^b", "a|b", "<", ">", "(", "!"}) {
        SCOPED_TRACE(argument);
        const finished_t refused = run_program({OSTRELCTL, "watch", "--", batch, argument});
        EXPECT_EQ(refused.status, 126);
        EXPECT_EQ(refused.errors.find("got"), std::string::npos) << refused.errors;
    }
}
