#include "shellprobe/view/icon_worker.h"

#include <utility>

#include "shellprobe/ole_apartment.h"

namespace tarnwell::shellprobe {

CIconWorker::CIconWorker(HWND window, UINT message)
    : m_window(window),
      m_message(message),
      m_thread([this](const std::stop_token& stop) { Run(stop); }) {}

void CIconWorker::Ask(const std::wstring& file, std::uint64_t version) {
    {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_questions, [&](const IconAnswer& older) { return older.file == file; });
        m_questions.push_back({file, version, {}});
    }
    m_asked.notify_one();
}

std::vector<IconAnswer> CIconWorker::Fetch() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_answers, {});
}

void CIconWorker::Run(const std::stop_token& stop) {
    const COleApartment apartment;
    std::unique_lock lock(m_mutex);
    while (m_asked.wait(lock, stop, [this] { return !m_questions.empty(); })) {
        if (stop.stop_requested())
            return;
        IconAnswer answer = std::move(m_questions.front());
        m_questions.pop_front();
        lock.unlock();
        answer.icons = AskHandler(answer.file, EHaste::kPatient);
        lock.lock();
        m_answers.push_back(std::move(answer));
        PostMessageW(m_window, m_message, 0, 0);
    }
}

}  // namespace tarnwell::shellprobe
