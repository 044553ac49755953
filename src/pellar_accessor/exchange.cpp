// The exchange file: a tool of the software manager writes its answer into it.
#include "pellar_accessor/exchange.h"

#include "ostrel/filelock.h"
#include "pellar_accessor/log.h"
#include "platform/files.h"
#include "toolkit/kiln2/files.h"
#include "toolkit/quillkit/strings.h"

#include <array>

namespace OSTREL_NAMESPACE {

std::optional<std::string> read_first_line(const kiln2::path_t& path) {
    auto file = ostrel_platform::shared_file_t::open_for_reading(path.as_string());
    if (!file)
        return std::nullopt;
    std::string line;
    std::array<char, 4096> buffer;
    for (auto end = std::string::npos; end == std::string::npos;) {
        const std::size_t count = file->read(buffer.data(), buffer.size()).value_or(0);
        const std::string_view bytes(buffer.data(), count);
        end = count == 0 ? 0 : bytes.find('\n');
        line += bytes.substr(0, end);
    }
    // The tool may write Windows line ends (CR LF).
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

std::optional<std::wstring> exchange(const kiln2::path_t& path,
                                     const std::function<void(const std::wstring& path)>& ask) {
    filelock_t lock(path);
    if (!lock.lock() || !ostrel_platform::create_empty(path.as_string()))
        return std::nullopt;
    ask(path.as_string());
    const auto line = read_first_line(path);
    if (!line)
        return std::nullopt;
    // Removes the file before the lock is released, because the next holder of the lock uses the same file.
    kiln2::remove_file(path);
    std::wstring uuid = quillkit::strings::utf8_to_utf16(*line);
    OSTREL_LOG(bridge_log, info, L"return: uuid = " << uuid);
    return uuid;
}

} // namespace OSTREL_NAMESPACE
