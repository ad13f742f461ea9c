#pragma once

#include "ZelvoGateway/recordings/RecordingFiles.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// Recordings' files in memory. Thread: one at a time.
class FakeRecordingFiles final : public RecordingFiles {
public:
    struct State {
        std::uint64_t freeBytes = std::uint64_t{1} << 40;
        bool refusesDrafts = false;
        bool refusesWrites = false;
        bool refusesToKeep = false;
        bool isUnreachable = false; ///< for now
        bool isForbidden = false;   ///< for good
        std::map<std::string, std::string> files;
        std::map<std::string, std::string> drafts;
    };

    /// What a test reads and sets.
    std::shared_ptr<State> const state = std::make_shared<State>();

    std::uint64_t freeBytes() const override { return state->freeBytes; }
    std::unique_ptr<RecordingDraft> draft(std::string const& id, std::uint64_t) const override
    {
        if (state->refusesDrafts)
            throw RecordingFilesError("no draft");
        return std::make_unique<Draft>(state, id);
    }
    std::shared_ptr<ByteSource const> open(std::string const& id) const override
    {
        assertReachable();
        auto const entry = state->files.find(id);
        return entry == state->files.end() ? nullptr : std::make_shared<Text const>(entry->second);
    }
    void remove(std::string const& id) const override
    {
        assertReachable();
        state->files.erase(id);
    }
    void removeAllBut(std::set<std::string> const& ids) const override
    {
        assertReachable();
        auto const isOther = [&](auto const& one) { return !ids.contains(one.first); };
        std::erase_if(state->files, isOther);
        std::erase_if(state->drafts, isOther);
    }

private:
    void assertReachable() const
    {
        RecordingFilesError error("no access");
        error.isTemporary = state->isUnreachable;
        if (state->isUnreachable || state->isForbidden)
            throw error;
    }

    class Draft final : public RecordingDraft {
    public:
        Draft(std::shared_ptr<State> state, std::string id) : state(std::move(state)), id(std::move(id))
        {
            this->state->drafts[this->id] = "";
        }
        Draft(Draft const&) = delete;
        Draft& operator=(Draft const&) = delete;
        ~Draft() override { state->drafts.erase(id); }
        void write(std::string_view piece) override
        {
            if (state->refusesWrites)
                throw RecordingFilesError("the disk is full");
            state->drafts[id] += piece;
        }
        void keep() override
        {
            if (state->refusesToKeep)
                throw RecordingFilesError("not kept");
            state->files[id] = state->drafts[id];
        }

    private:
        std::shared_ptr<State> state;
        std::string id;
    };

    class Text final : public ByteSource {
    public:
        explicit Text(std::string text) : text(std::move(text)) {}
        std::uint64_t size() const override { return text.size(); }
        std::size_t read(std::uint64_t offset, std::span<char> room) const override
        {
            return offset < text.size() ? text.copy(room.data(), room.size(), offset) : 0;
        }

    private:
        std::string text;
    };
};

} // namespace zelvo::service
