#include "summary.h"

#include <string>

namespace hlvtrace {

namespace {

double seconds(std::int64_t nanoseconds) { return double(nanoseconds) * 1e-9; }

double share(std::int64_t part, std::int64_t whole) { return whole > 0 ? double(part) / double(whole) : 0.0; }

// 12345678 as "12,345,678".
std::string grouped(std::uint64_t value)
{
    std::string digits = std::to_string(value), out;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0)
            out += ',';
        out += digits[i];
    }
    return out;
}

std::string jsonString(std::string const& text)
{
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            out += escaped;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

std::string jsonVector(Vec3 v)
{
    char text[96];
    std::snprintf(text, sizeof text, "[%.7g, %.7g, %.7g]", double(v.x), double(v.y), double(v.z));
    return text;
}

}  // namespace

double RunReport::raysPerSecond() const
{
    double rays = double(detection.totals.primaryRays + detection.totals.probeRays);
    return detection.tracingSeconds > 0.0 ? rays / detection.tracingSeconds : 0.0;
}

double RunReport::embreeShare() const { return share(detection.totals.embreeNs, detection.totals.busyNs); }

double RunReport::libraryShare() const { return share(detection.totals.libraryNs, detection.totals.busyNs); }

void printSummary(std::FILE* out, RunReport const& r)
{
    ThreadStats const& t = r.detection.totals;
    Vec3 c = r.zone.centre, s = r.zone.size;
    std::fprintf(out, "hlvtrace: %s, %zu triangles; cube image %ux%u; %u of 256 cameras; %u thread%s\n",
                 r.scene.c_str(), r.triangles, r.width, r.height, r.cameras, r.threads, r.threads == 1 ? "" : "s");
    std::fprintf(out, "  zone of view  centre (%g, %g, %g), size %g x %g x %g, %g cm per scene unit\n", c.x, c.y,
                 c.z, s.x, s.y, s.z, r.zone.scale);
    std::fprintf(out, "  rays          %s from the cameras (%s hits), %s for the library's probes\n",
                 grouped(t.primaryRays).c_str(), grouped(t.hits).c_str(), grouped(t.probeRays).c_str());
    std::fprintf(out, "  plaques       %s recorded, %s written after cleaning (%.0f%%)\n",
                 grouped(t.plaquesRecorded).c_str(), grouped(r.plaques).c_str(),
                 100.0 * share(std::int64_t(r.plaques), std::int64_t(t.plaquesRecorded)));
    std::fprintf(out, "  time          %.2f s tracing, %.2f s writing; %.2f M rays/s\n", r.detection.tracingSeconds,
                 r.detection.finalisingSeconds, r.raysPerSecond() * 1e-6);
    double host = 1.0 - r.embreeShare() - r.libraryShare();
    std::fprintf(out, "  thread time   %.2f s: Embree %.0f%%, library %.0f%%, hlvtrace %.0f%%\n", seconds(t.busyNs),
                 100.0 * r.embreeShare(), 100.0 * r.libraryShare(), 100.0 * host);
    std::fprintf(out, "  files         %s\n                %s\n", r.detectFile.c_str(), r.pictureFile.c_str());
    if (!r.renderFile.empty())
        std::fprintf(out, "                %s\n", r.renderFile.c_str());
}

void printJson(std::FILE* out, RunReport const& r)
{
    ThreadStats const& t = r.detection.totals;
    std::fprintf(out,
                 "{\"scene\": %s, \"triangles\": %zu, \"width\": %u, \"height\": %u, \"threads\": %u, "
                 "\"cameras\": %u, \"boxCenter\": %s, \"boxSize\": %s, \"scale\": %.9g, "
                 "\"primaryRays\": %llu, \"hits\": %llu, \"probeRays\": %llu, \"plaquesRecorded\": %llu, \"plaques\": %llu, "
                 "\"tracingSeconds\": %.6f, \"finalisingSeconds\": %.6f, \"raysPerSecond\": %.1f, "
                 "\"threadSeconds\": %.6f, \"embreeSeconds\": %.6f, \"librarySeconds\": %.6f, "
                 "\"embreeShare\": %.4f, \"libraryShare\": %.4f, "
                 "\"detectFile\": %s, \"pictureFile\": %s, \"renderFile\": %s}\n",
                 jsonString(r.scene).c_str(), r.triangles, r.width, r.height, r.threads, r.cameras,
                 jsonVector(r.zone.centre).c_str(), jsonVector(r.zone.size).c_str(), r.zone.scale,
                 static_cast<unsigned long long>(t.primaryRays), static_cast<unsigned long long>(t.hits),
                 static_cast<unsigned long long>(t.probeRays), static_cast<unsigned long long>(t.plaquesRecorded),
                 static_cast<unsigned long long>(r.plaques),
                 r.detection.tracingSeconds, r.detection.finalisingSeconds, r.raysPerSecond(), seconds(t.busyNs),
                 seconds(t.embreeNs), seconds(t.libraryNs), r.embreeShare(), r.libraryShare(),
                 jsonString(r.detectFile).c_str(), jsonString(r.pictureFile).c_str(),
                 r.renderFile.empty() ? "null" : jsonString(r.renderFile).c_str());
}

}  // namespace hlvtrace
