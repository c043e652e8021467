#include "platform/simulated/http.h"

#include <utility>

#include "platform/run_loop.h"

namespace korvel::platform {

void SimulatedHttp::later(double delay, std::function<void()> work) {
    if (delay > 0) {
        runLoop_.after(delay, std::move(work));
    } else {
        runLoop_.async(std::move(work));
    }
}

void SimulatedHttp::get(const std::string& url, double timeout,
                        std::function<void(std::optional<HttpResponse>)> done) {
    note("get ", url);
    urls.push_back(url);
    if (!document) {
        later(0, [done = std::move(done)] { done(std::nullopt); });
    } else if (document->delay > timeout) {
        later(timeout, [done = std::move(done)] { done(std::nullopt); });
    } else {
        HttpResponse response{document->status, document->body};
        later(document->delay,
              [done = std::move(done), response = std::move(response)] { done(response); });
    }
}

void SimulatedHttp::download(const std::string& url, const std::string& /*folder*/,
                             std::function<void(std::optional<HttpDownload>)> done) {
    note("download ", url);
    urls.push_back(url);
    if (!archive) {
        later(0, [done = std::move(done)] { done(std::nullopt); });
        return;
    }
    later(archive->delay, [this, done = std::move(done), answer = *archive] {
        const std::string path = "/tmp/download";
        files_.contents[path] = answer.body;
        done(HttpDownload{answer.status, path});
        files_.contents.erase(path);
    });
}

} // namespace korvel::platform
