#include "platform/linux/wayland/clipboard/DataControl.h"

#include "wlr-data-control-unstable-v1-client-protocol.h"

#include <unistd.h>
#include <wayland-client-protocol.h>

#include <utility>

namespace zelvo {

namespace {

constexpr std::size_t maxTypes = 256;
constexpr std::size_t maxTypeLength = 256;

using ManagerPtr =
    std::unique_ptr<zwlr_data_control_manager_v1, ReleaseProxy<zwlr_data_control_manager_v1_destroy>>;
using DevicePtr =
    std::unique_ptr<zwlr_data_control_device_v1, ReleaseProxy<zwlr_data_control_device_v1_destroy>>;
using SourcePtr =
    std::unique_ptr<zwlr_data_control_source_v1, ReleaseProxy<zwlr_data_control_source_v1_destroy>>;
using OfferPtr =
    std::unique_ptr<zwlr_data_control_offer_v1, ReleaseProxy<zwlr_data_control_offer_v1_destroy>>;
using SeatPtr = std::unique_ptr<wl_seat, ReleaseProxy<wl_seat_destroy>>;

/// The other protocol has the same requests and events under other names; only a global's name is sent.
wl_interface const& extManager()
{
    static wl_interface const made = [] {
        wl_interface copy = zwlr_data_control_manager_v1_interface;
        copy.name = "ext_data_control_manager_v1";
        copy.version = 1;
        return copy;
    }();
    return made;
}

class Offer final : public ClipboardOffer {
public:
    Offer(std::shared_ptr<WaylandClient> client, zwlr_data_control_offer_v1* raw)
        : client(std::move(client)), offer(raw)
    {
        static constexpr zwlr_data_control_offer_v1_listener listener{
            .offer = [](void* data, zwlr_data_control_offer_v1*, char const* type) {
                static_cast<Offer*>(data)->add(type);
            }};
        zwlr_data_control_offer_v1_add_listener(raw, &listener, this);
    }

    std::vector<std::string> const& types() const override { return all; }
    bool hasAllTypes() const override { return !hasMore; }
    void receive(std::string const& type, int pipe) override
    {
        zwlr_data_control_offer_v1_receive(offer.get(), type.c_str(), pipe);
        client->flush();
    }
    zwlr_data_control_offer_v1* raw() const { return offer.get(); }

private:
    void add(std::string type)
    {
        if (all.size() < maxTypes && type.size() <= maxTypeLength)
            all.push_back(std::move(type));
        else
            hasMore = true;
    }

    std::shared_ptr<WaylandClient> client;
    OfferPtr offer;
    std::vector<std::string> all;
    bool hasMore = false;
};

class Source final : public ClipboardSource {
public:
    Source(std::shared_ptr<WaylandClient> client,
           zwlr_data_control_source_v1* raw,
           DataControl::SourceEvents events)
        : client(std::move(client)), source(raw), events(std::move(events))
    {
        static constexpr zwlr_data_control_source_v1_listener listener{
            .send = [](void* data, zwlr_data_control_source_v1*, char const* type,
                       int pipe) { static_cast<Source*>(data)->events.send(type, pipe); },
            .cancelled =
                [](void* data, zwlr_data_control_source_v1*) {
                    auto const call = static_cast<Source*>(data)->events.cancelled; // It may end the source.
                    call();
                }};
        zwlr_data_control_source_v1_add_listener(raw, &listener, this);
    }

private:
    std::shared_ptr<WaylandClient> client;
    SourcePtr source;
    DataControl::SourceEvents events;
};

class Device final : public DataControl {
public:
    Device(std::shared_ptr<WaylandClient> client, ManagerPtr manager, SeatPtr seat, Events events)
        : client(std::move(client)), manager(std::move(manager)), seat(std::move(seat)),
          device(zwlr_data_control_manager_v1_get_data_device(this->manager.get(), this->seat.get())),
          events(std::move(events))
    {
        zwlr_data_control_device_v1_add_listener(device.get(), &listener, this);
        this->client->flush();
    }

    std::unique_ptr<ClipboardSource> own(std::vector<std::string> const& types,
                                         SourceEvents sourceEvents) override
    {
        auto* const raw = zwlr_data_control_manager_v1_create_data_source(manager.get());
        auto source = std::make_unique<Source>(client, raw, std::move(sourceEvents));
        for (std::string const& type : types)
            zwlr_data_control_source_v1_offer(raw, type.c_str());
        zwlr_data_control_device_v1_set_selection(device.get(), raw);
        client->flush();
        return source;
    }
    void clear() override
    {
        zwlr_data_control_device_v1_set_selection(device.get(), nullptr);
        client->flush();
    }

private:
    static void offered(void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* raw)
    {
        auto& self = *static_cast<Device*>(data);
        self.latest = std::make_shared<Offer>(self.client, raw);
    }
    static void selected(void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* raw)
    {
        auto& self = *static_cast<Device*>(data);
        auto const offer = std::exchange(self.latest, nullptr);
        self.events.selection(offer && offer->raw() == raw ? offer : nullptr);
    }
    static void primarySelected(void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1*)
    {
        static_cast<Device*>(data)->latest.reset();
    }
    static void finished(void* data, zwlr_data_control_device_v1*)
    {
        static_cast<Device*>(data)->events.finished();
    }
    static constexpr zwlr_data_control_device_v1_listener listener{.data_offer = offered,
                                                                   .selection = selected,
                                                                   .finished = finished,
                                                                   .primary_selection = primarySelected};

    std::shared_ptr<WaylandClient> client;
    ManagerPtr manager;
    SeatPtr seat;
    DevicePtr device;
    Events events;
    std::shared_ptr<Offer> latest; ///< announced, and not yet said to be which selection
};

} // namespace

bool DataControl::isOffered(WaylandClient const& client)
{
    return client.find(extManager().name) || client.find(zwlr_data_control_manager_v1_interface.name);
}

std::shared_ptr<DataControl> DataControl::open(std::shared_ptr<WaylandClient> client, Events events)
{
    ManagerPtr manager(client->bind<zwlr_data_control_manager_v1>(extManager(), 1));
    if (!manager)
        manager.reset(client->bind<zwlr_data_control_manager_v1>(zwlr_data_control_manager_v1_interface, 2));
    SeatPtr seat(client->bind<wl_seat>(wl_seat_interface, 1));
    if (!manager || !seat)
        return nullptr;
    return std::make_shared<Device>(std::move(client), std::move(manager), std::move(seat),
                                    std::move(events));
}

} // namespace zelvo
