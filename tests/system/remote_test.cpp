// SPDX-License-Identifier: MIT
// A scanner on another machine: scanimage, SANE's network backend, saned, and this build's backend behind it. The
// server has a loopback address of its own, so that no other one is met on the port that both sides take for granted.
#include "scanimage.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/types.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace system_test {

using namespace std::string_literals;

namespace {

constexpr std::uint16_t sane_port = 6566;

// Whether the call (bind or connect) succeeds for SANE's port at the address.
template <class Call> bool succeeds(Call call, const std::string &address)
{
    const int connection = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(sane_port);
    ::inet_pton(AF_INET, address.c_str(), &place.sin_addr);
    const int result = call(connection, reinterpret_cast<const sockaddr *>(&place), sizeof place);
    ::close(connection);
    return result == 0;
}

// Starts looking at a place that no other test's process takes.
std::string free_loopback_address()
{
    constexpr unsigned hosts = 250;
    const auto process = static_cast<unsigned>(::getpid());
    const std::string net =
        "127." + std::to_string(process / hosts % hosts + 1) + "." + std::to_string(process % hosts + 1) + ".";
    for (unsigned host = 1; host < hosts; ++host)
        if (succeeds(::bind, net + std::to_string(host)))
            return net + std::to_string(host);
    throw std::runtime_error("no address is free");
}

// Those whose command line has the text, as the server and its children have its address.
std::vector<pid_t> processes_with(const std::string &text)
{
    std::vector<pid_t> found;
    for (const auto &entry : std::filesystem::directory_iterator("/proc"))
        if (contains(read_file(entry.path().string() + "/cmdline"), text))
            found.push_back(static_cast<pid_t>(std::stol(entry.path().filename().string())));
    return found;
}

} // namespace

class remote : public scanimage {
protected:
    remote() : address_(free_loopback_address())
    {
        std::filesystem::create_directories(path("client.d"));
        write_file("client.d/dll.conf", "net\n");
        write_file("client.d/net.conf", address_ + "\n");
        write_file("sane.d/saned.conf", "127.0.0.1\n");
    }

    ~remote() override
    {
        server_.reset();
        end_children();
    }

    void serve()
    {
        // saned itself does not give everything back.
        set_variable("ASAN_OPTIONS", "detect_leaks=0:intercept_tls_get_addr=0");
        server_ = start({"saned", "-l", "-b", address_, "-e", "-d", "0"}, "served");
        constexpr std::chrono::seconds patience(60);
        const auto limit = std::chrono::steady_clock::now() + patience;
        while (!succeeds(::connect, address_)) {
            ASSERT_LT(std::chrono::steady_clock::now(), limit) << "the server cannot be reached";
            std::this_thread::yield();
        }
    }

    void end_server()
    {
        server_->send_signal(SIGTERM);
        // Under a sanitizer the one that would announce the server to the network hangs before it could hear of this.
        if (is_instrumented)
            end_children();
        EXPECT_EQ(128 + SIGTERM, server_->wait()) << server_->messages();
        expect_no_sanitizer_report(server_->messages());
    }

    [[nodiscard]] const std::string &address() const { return address_; }
    [[nodiscard]] std::vector<pid_t> server_processes() const { return processes_with(address_ + "\0-e"s); }
    [[nodiscard]] std::string remote_device() const { return "net:" + address_ + ":pelsane:virtual:duplex-feeder"; }

    void be_client() { set_variable("SANE_CONFIG_DIR", path("client.d")); }
    void be_local() { set_variable("SANE_CONFIG_DIR", path("sane.d")); }

    outcome scan(const arguments &settings)
    {
        arguments all{"--format=pnm"};
        all.insert(all.end(), settings.begin(), settings.end());
        outcome result = run(all);
        EXPECT_EQ(0, result.status) << result.messages;
        return result;
    }

private:
    static constexpr bool is_instrumented = sizeof PELSANE_PRELOADED > 1;

    void end_children() const
    {
        for (const pid_t child : server_processes())
            ::kill(child, SIGKILL);
    }

    std::string address_;
    std::unique_ptr<application> server_;
};

TEST_F(remote, scanner_is_listed)
{
    serve();
    be_client();
    EXPECT_EQ(remote_device() + "|Pelsane|Virtual Duplex Feeder|sheetfed scanner\n",
              run({"-f", "%d|%v|%m|%t%n"}).output);
    end_server();
}

TEST_F(remote, page_is_the_same_as_a_local_one)
{
    struct sample {
        arguments settings;
        std::string header;
    };
    const std::vector<sample> samples{
        {{"--resolution", "75"}, "P6\n# SANE data follows\n620 877\n255\n"},
        {{"--resolution", "100", "--mode", "Gray", "-l", "10", "-x", "50.8", "-y", "25.4"},
         "P5\n# SANE data follows\n200 100\n255\n"},
        {{"--resolution", "150", "--mode", "Lineart", "--threshold", "90", "--reverse-bw=yes"},
         "P4\n# SANE data follows\n1240 1754\n"},
        {{"--resolution", "75", "--paper", "A6", "--is-custom-gamma=yes", "--gamma", "1.5", "--brightness", "-20"},
         "P6\n# SANE data follows\n310 437\n255\n"},
    };
    serve();
    for (const sample &each : samples) {
        be_client();
        const outcome far = scan(each.settings);
        be_local();
        const outcome near = scan(each.settings);
        EXPECT_EQ(each.header, far.output.substr(0, each.header.size()));
        EXPECT_TRUE(near.output == far.output) << each.header;
    }
    end_server();
}

TEST_F(remote, batch_is_the_same_as_a_local_one)
{
    const arguments settings{"--resolution", "75", "--mode", "Gray", "--format=pnm"};
    const auto batch_into = [&](const std::string &name) {
        arguments all = settings;
        all.push_back("--batch=" + path(name));
        return run(all);
    };
    const std::string header = "P5\n# SANE data follows\n620 877\n255\n";
    serve();
    be_client();
    const outcome result = batch_into("far-%d.pnm");
    EXPECT_EQ(0, result.status);
    EXPECT_TRUE(contains(result.messages, "Batch terminated, 6 pages scanned")) << result.messages;
    be_local();
    batch_into("near-%d.pnm");
    for (const char *number : {"1", "2", "3", "4", "5", "6"}) {
        const std::string far = read_file(path(std::string("far-") + number + ".pnm"));
        EXPECT_EQ(header, far.substr(0, header.size())) << number;
        EXPECT_TRUE(read_file(path(std::string("near-") + number + ".pnm")) == far) << number;
    }
    end_server();
}

TEST_F(remote, options_are_the_same_as_local_ones)
{
    serve();
    be_client();
    const auto far = lines_of(run({"-A"}).output);
    be_local();
    const auto near = lines_of(run({"-A"}).output);
    ASSERT_GT(near.size(), 1U);
    ASSERT_EQ(near.size(), far.size());
    EXPECT_EQ(std::vector<std::string>(near.begin() + 3, near.end()),
              std::vector<std::string>(far.begin() + 3, far.end()));
    end_server();
}

TEST_F(remote, texts_and_numbers_arrive_exactly)
{
    serve();
    be_client();
    const std::string text = run({"-A", "--page", "Front side", "--token", "häß", "-x", "100.5"}).output;
    EXPECT_TRUE(contains(text, "[Front side]\n")) << text;
    EXPECT_TRUE(contains(text, "--token <string> [häß]")) << text;
    EXPECT_TRUE(contains(text, "-x auto|0..297mm [100.5]\n")) << text;
    const outcome refused = run({"--dont-scan", "--mode", "Sepia"});
    EXPECT_TRUE(contains(refused.messages, "setting of option --mode failed (Invalid argument)")) << refused.messages;
    end_server();
}

TEST_F(remote, scan_is_cancelled_and_the_next_one_succeeds)
{
    serve();
    be_client();
    const auto client = start({"scanimage", "--format=pnm", "--progress", "--resolution", "600"});
    ASSERT_TRUE(client->wait_for_message("Progress: ")) << client->messages();
    client->send_signal(SIGINT);
    EXPECT_NE(0, client->wait());
    EXPECT_TRUE(contains(client->messages(), "received signal 2")) << client->messages();
    const std::string header = "P6\n# SANE data follows\n620 877\n255\n";
    EXPECT_EQ(header.size() + 620UL * 877UL * 3UL, scan({"--resolution", "75"}).output.size());
    end_server();
}

TEST_F(remote, server_leaves_nothing_behind)
{
    serve();
    be_client();
    scan({"--resolution", "75"});
    EXPECT_TRUE(succeeds(::connect, address()));
    end_server();
    EXPECT_FALSE(succeeds(::connect, address()));
    EXPECT_EQ(std::vector<pid_t>(), server_processes());
    EXPECT_EQ("", run({"-f", "%d"}).output);
}

} // namespace system_test
