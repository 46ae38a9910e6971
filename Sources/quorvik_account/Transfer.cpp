#include "quorvik_account/Transfer.h"

#include <curl/curl.h>

#include <algorithm>
#include <memory>

namespace quorvik::Transfer {

namespace {

constexpr std::size_t mostBytes = 256 * 1024;

std::size_t append(const char* bytes, std::size_t, std::size_t count, void* body) {
    auto& text = *static_cast<std::string*>(body);
    if (text.size() + count > mostBytes) return 0; // ends the transfer
    text.append(bytes, count);
    return count;
}

} // namespace

Answer get(const AccountUsage::Request& request, std::chrono::milliseconds time) {
    Answer answer;
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    curl_slist* list = nullptr;
    for (const std::string& header : request.headers)
        if (curl_slist* longer = curl_slist_append(list, header.c_str())) list = longer;
    const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(list, curl_slist_free_all);
    CURLcode code = curl ? CURLE_OK : CURLE_FAILED_INIT;
    const auto set = [&](CURLoption option, auto value) {
        if (code == CURLE_OK) code = curl_easy_setopt(curl.get(), option, value);
    };
    const bool isLocal = request.url.starts_with("http://");
    set(CURLOPT_URL, request.url.c_str());
    set(CURLOPT_HTTPHEADER, headers.get());
    set(CURLOPT_PROTOCOLS_STR, isLocal ? "http" : "https");
    if (isLocal) set(CURLOPT_NOPROXY, "*");
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(CURLOPT_TIMEOUT_MS, static_cast<long>(time.count()));
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_WRITEFUNCTION, append);
    set(CURLOPT_WRITEDATA, static_cast<void*>(&answer.body));
    if (code == CURLE_OK) code = curl_easy_perform(curl.get());
    if (code != CURLE_OK) {
        answer.failure = curl_easy_strerror(code); // a fixed text for each code
        return answer;
    }
    curl_off_t retryAfter = 0;
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &answer.status);
    curl_easy_getinfo(curl.get(), CURLINFO_RETRY_AFTER, &retryAfter);
    answer.retryAfter = std::clamp<std::int64_t>(retryAfter, 0, 86'400);
    return answer;
}

} // namespace quorvik::Transfer
