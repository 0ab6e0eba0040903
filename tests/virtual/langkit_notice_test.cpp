// SPDX-License-Identifier: MIT
// The language library's stand-in: changes of the language, and who is told of them.
#include "langkit_fixture.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

using namespace langkit_fixture;

TEST(langkit, changes_the_language)
{
    const language_environment environment("en");
    const langkit_library library;
    EXPECT_EQ(library.set_language("zh_CN.UTF-8"), 0);
    EXPECT_STREQ(library.language(), "zh");
    EXPECT_STREQ(library.from_default("双面", nullptr), "双面");
    EXPECT_EQ(library.set_language("en"), 0);
    EXPECT_STREQ(library.from_default("双面", nullptr), "Both sides");
}

TEST(langkit, refuses_a_language_without_a_catalogue)
{
    const language_environment environment("zh");
    const langkit_library library;
    for (const char *tag : {"xx", "", static_cast<const char *>(nullptr)})
        EXPECT_EQ(library.set_language(tag), 256);
    EXPECT_STREQ(library.language(), "zh");
}

namespace {

// One who is notified: how often, and with what first argument last.
struct listener {
    int notices = 0;
    int argument = -1;

    static void notify(int argument, void *parameter)
    {
        auto &self = *static_cast<listener *>(parameter);
        ++self.notices;
        self.argument = argument;
    }
};

} // namespace

TEST(langkit, notifies_everyone_when_the_language_changes)
{
    const language_environment environment("en");
    const langkit_library library;
    std::array<listener, 3> listeners;
    for (listener &each : listeners)
        EXPECT_EQ(library.register_notify(listener::notify, 1, &each), 0);
    ASSERT_EQ(library.set_language("zh"), 0);
    for (const listener &each : listeners) {
        EXPECT_EQ(each.notices, 1);
        EXPECT_EQ(each.argument, 0);
    }
}

TEST(langkit, notifies_of_real_changes_only)
{
    const language_environment environment("en");
    const langkit_library library;
    listener only;
    library.register_notify(listener::notify, 1, &only);
    library.set_language("en_GB");
    library.set_language("xx");
    EXPECT_EQ(only.notices, 0);
    library.set_language("zh");
    library.set_language("zh");
    library.set_language("en");
    EXPECT_EQ(only.notices, 2);
}

TEST(langkit, takes_a_repeated_registration_for_one)
{
    const language_environment environment("en");
    const langkit_library library;
    listener only;
    EXPECT_EQ(library.register_notify(listener::notify, 1, &only), 0);
    EXPECT_EQ(library.register_notify(listener::notify, 1, &only), 0);
    library.set_language("zh");
    EXPECT_EQ(only.notices, 1);
    EXPECT_EQ(library.register_notify(listener::notify, 0, &only), 0);
    library.set_language("en");
    EXPECT_EQ(only.notices, 1);
    EXPECT_EQ(library.register_notify(listener::notify, 0, &only), 256);
}

TEST(langkit, refuses_to_register_nobody)
{
    const language_environment environment("en");
    const langkit_library library;
    listener stranger;
    EXPECT_EQ(library.register_notify(nullptr, 1, &stranger), 256);
    EXPECT_EQ(library.register_notify(nullptr, 0, &stranger), 256);
    EXPECT_EQ(library.register_notify(listener::notify, 0, &stranger), 256);
}

namespace {

struct curious_listener {
    const langkit_library &library;
    std::thread::id notified_on;
    std::string heard;

    static void notify(int, void *parameter)
    {
        auto &self = *static_cast<curious_listener *>(parameter);
        self.notified_on = std::this_thread::get_id();
        self.heard = std::string(self.library.language()) + " " + self.library.from_default("双面", nullptr);
        self.library.load_string(987654, nullptr, 0);
        self.library.register_notify(notify, 0, parameter);
        // Another thread gets through too, so the lock is not merely held by this one.
        std::thread([&self] { self.library.load_string(987655, nullptr, 0); }).join();
    }
};

struct removing_listener {
    const langkit_library &library;
    listener &other;

    static void notify(int, void *parameter)
    {
        auto &self = *static_cast<removing_listener *>(parameter);
        self.library.register_notify(listener::notify, 0, &self.other);
    }
};

} // namespace

TEST(langkit, lets_a_notified_one_call_back)
{
    const language_environment environment("zh");
    const langkit_library library;
    curious_listener curious{library, {}, {}};
    ASSERT_EQ(library.register_notify(curious_listener::notify, 1, &curious), 0);
    ASSERT_EQ(library.set_language("en"), 0);
    EXPECT_EQ(curious.heard, "en Both sides");
    EXPECT_EQ(curious.notified_on, std::this_thread::get_id());
    EXPECT_EQ(library.register_notify(curious_listener::notify, 0, &curious), 256);
}

TEST(langkit, does_not_notify_one_who_was_removed_before_the_turn)
{
    const language_environment environment("en");
    const langkit_library library;
    listener removed;
    removing_listener remover{library, removed};
    library.register_notify(removing_listener::notify, 1, &remover);
    library.register_notify(listener::notify, 1, &removed);
    library.set_language("zh");
    EXPECT_EQ(removed.notices, 0);
}

TEST(langkit, serves_many_threads)
{
    const language_environment environment("en");
    const langkit_library library;
    std::vector<std::thread> threads;
    std::array<int, 4> wrong{};
    threads.reserve(wrong.size());
    for (int &count : wrong) {
        threads.emplace_back([&library, &count] {
            listener own;
            for (int round = 0; round < 200; ++round) {
                library.register_notify(listener::notify, 1, &own);
                const std::string text = library.from_default("双面", nullptr);
                count += text != "双面" && text != "Both sides" ? 1 : 0;
                const std::string made_up = library.load_string(987000 + round, nullptr, 0);
                count += made_up != "Word " + std::to_string(987000 + round) ? 1 : 0;
                library.register_notify(listener::notify, 0, &own);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, (std::array<int, 4>{}));
}

TEST(langkit, lets_the_language_change_while_it_is_used)
{
    const language_environment environment("en");
    const langkit_library library;
    std::thread changer([&library] {
        for (int round = 0; round < 200; ++round)
            library.set_language(round % 2 == 0 ? "zh" : "en");
    });
    for (int round = 0; round < 200; ++round) {
        const std::string text = library.from_default("双面", nullptr);
        EXPECT_TRUE(text == "双面" || text == "Both sides") << text;
    }
    changer.join();
    EXPECT_STREQ(library.language(), "en");
}
