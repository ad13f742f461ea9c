#pragma once

#include "gateway/support/Gateway.h"

#include <map>
#include <set>
#include <sstream>
#include <string>

namespace zelvo::service {

/// Turns metrics on, on a free port.
inline void withMetrics(Settings& settings)
{
    settings.metrics.isOn = true;
    settings.metrics.port = 0;
}

/// What a gateway exports, as a scraper sees it.
class Scraped {
public:
    explicit Scraped(Gateway& gateway)
        : answer(request(portOf(gateway.running().metricsAddress()), "GET", "/metrics"))
    {
        std::istringstream lines(answer.body);
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("# TYPE "))
                families.insert(line.substr(7, line.find(' ', 7) - 7));
            else if (!line.starts_with('#'))
                values[line.substr(0, line.rfind(' '))] = std::stod(line.substr(line.rfind(' ') + 1));
        }
    }

    static std::uint16_t portOf(std::string const& address)
    {
        return static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1)));
    }

    /// series   "zelvo_refused_total{reason=\"memory\"}"; 0 if it is missing
    double operator[](std::string const& series) const
    {
        auto const found = values.find(series);
        return found == values.end() ? 0 : found->second;
    }
    bool has(std::string const& series) const { return values.contains(series); }

    Answer answer;
    std::set<std::string> families; ///< names without "_bucket" and so on
    std::map<std::string, double> values;
};

/// The value of one series now.
inline double scraped(Gateway& gateway, std::string const& series)
{
    return Scraped(gateway)[series];
}

inline double refused(Gateway& gateway, std::string const& reason)
{
    return scraped(gateway, "zelvo_refused_total{reason=\"" + reason + "\"}");
}

} // namespace zelvo::service
