#include "bench/models.h"

#include "core/format.h"
#include "core/str.h"

namespace bench {
namespace {

using tessel::format;
using tessel::str::shortest;

constexpr std::uint64_t first_id = 2000000000000001;

/// Collects blocks and links and writes them as a model file.
class File {
public:
    std::uint64_t block(const char* name, int inputs, const std::string& parameters = {}, int outputs = 1) {
        const std::uint64_t id = first_id + count_++;
        blocks_ += format(R"({}{{"{}":{{"name":"b{}","id":{},"parent":0,"inportCount":{},"outportCount":{}{}{}}}}})",
                          count_ == 1 ? "" : ",\n", name, count_, id, inputs, outputs, parameters.empty() ? "" : ",",
                          parameters);
        return id;
    }
    void link(std::uint64_t src, std::uint64_t dst, int port = 0) {
        links_ += format(R"({}{{"srcId":{},"dstId":{},"srcPort":0,"dstPort":{},"label":"","breakpoints":null}})",
                         links_.empty() ? "" : ",\n", src, dst, port);
    }
    std::string text(double tf) const {
        return format("{{\"blocks\":[\n{}\n],\"links\":[\n{}\n],\"model\":{{\"ti\":0.0,\"tf\":{},\"ts\":{}}}}}\n",
                      blocks_, links_, shortest(tf), shortest(step_s));
    }

private:
    std::string blocks_, links_;
    std::uint64_t count_ = 0;
};

std::string text_parameter(const char* key, double value) { return format(R"("{}":"{}")", key, shortest(value)); }

/// Half a step short of the time behind the last step, which accumulated rounding cannot reach.
double final_time(std::size_t steps) { return (static_cast<double>(steps) - 0.5) * step_s; }

}  // namespace

std::string control_loop(std::size_t steps) {
    File f;
    const auto ref = f.block("step", 0, text_parameter("stepTime", 0.9995));
    const auto e = f.block("subtract", 2);
    const auto two = f.block("constant", 0, text_parameter("expression", 2));
    const auto p = f.block("multiply", 2);
    const auto small = f.block("constant", 0, text_parameter("expression", 0.002));
    const auto q = f.block("multiply", 2);
    const auto i = f.block("add", 2);
    const auto i_prev = f.block("memory", 1);
    const auto e_prev = f.block("memory", 1);
    const auto de = f.block("subtract", 2);
    const auto twenty = f.block("constant", 0, text_parameter("expression", 20));
    const auto d = f.block("multiply", 2);
    const auto u = f.block("add", 3);
    const auto du = f.block("subtract", 2);
    const auto gain = f.block("constant", 0, text_parameter("expression", 0.002));
    const auto bd = f.block("multiply", 2);
    const auto yn = f.block("add", 2);
    const auto y = f.block("memory", 1);
    const auto join = [&f](std::uint64_t dst, std::uint64_t a, std::uint64_t b) {
        f.link(a, dst, 0);
        f.link(b, dst, 1);
    };
    join(e, ref, y);
    join(p, e, two);
    join(q, e, small);
    join(i, i_prev, q);
    // a loop takes its type from a cast in it; casts are gone before the run
    const auto i_type = f.block("cast", 1), y_type = f.block("cast", 1);
    f.link(i, i_type);
    f.link(i_type, i_prev);
    f.link(e, e_prev);
    join(de, e, e_prev);
    join(d, de, twenty);
    join(u, p, i);
    f.link(d, u, 2);
    join(du, u, y);
    join(bd, du, gain);
    join(yn, y, bd);
    f.link(yn, y_type);
    f.link(y_type, y);
    return f.text(final_time(steps));
}

std::uint64_t chain_output(std::size_t i) { return first_id + 8 * i + 7; }

std::string chain_farm(std::size_t chains, std::size_t steps) {
    constexpr double pi = 3.141592653589793;
    File f;
    for (std::size_t n = 0; n < chains; ++n) {
        const auto s = f.block("sinewave", 0,
                               text_parameter("frequency", 0.5 + 0.01 * static_cast<double>(n % 100)) + "," +
                                   text_parameter("phase", 0.1 * static_cast<double>(n % 63) * 180.0 / pi));
        const auto c = f.block("constant", 0, text_parameter("expression", 0.8 + 0.002 * static_cast<double>(n % 200)));
        const auto m = f.block("multiply", 2);
        const auto d =
            f.block("constant", 0, text_parameter("expression", -0.3 + 0.005 * static_cast<double>(n % 120)));
        const auto a = f.block("add", 2);
        const auto z = f.block("memory", 1);
        const auto l = f.block("lut1d", 1, R"("bp1":"[-1.0,-0.4,0.0,0.5,1.2]","out":"[-0.8,-0.5,0.1,0.4,1.0]")");
        const auto o = f.block("add", 2);
        f.link(s, m, 0);
        f.link(c, m, 1);
        f.link(m, a, 0);
        f.link(d, a, 1);
        f.link(a, z);
        f.link(z, l);
        f.link(l, o, 0);
        f.link(s, o, 1);
    }
    return f.text(final_time(steps));
}

std::string wide_zones(std::size_t zones, std::size_t width, std::size_t steps) {
    File f;
    const auto factor = f.block("constant", 0, text_parameter("expression", 0.97));
    const auto offset = f.block("constant", 0, text_parameter("expression", 0.01));
    for (std::size_t n = 0; n < width; ++n) {
        auto last = f.block("sinewave", 0,
                            text_parameter("frequency", 0.5 + 0.01 * static_cast<double>(n % 100)) + "," +
                                text_parameter("phase", static_cast<double>(n % 63)));
        for (std::size_t zone = 1; zone < zones; ++zone) {
            const bool table = zone % 3 == 0;
            const auto next =
                table ? f.block("lut1d", 1, R"("bp1":"[-1.0,-0.4,0.0,0.5,1.2]","out":"[-0.8,-0.5,0.1,0.4,1.0]")")
                      : f.block(zone % 3 == 1 ? "multiply" : "add", 2);
            f.link(last, next, 0);
            if (!table) f.link(zone % 3 == 1 ? factor : offset, next, 1);
            last = next;
        }
    }
    return f.text(final_time(steps));
}

std::string typed_farm(std::size_t chains, std::size_t steps, const char* input, const char* state) {
    File f;
    for (std::size_t n = 0; n < chains; ++n) {
        const auto one = f.block("constant", 0, text_parameter("expression", 1));
        const auto cast_one = f.block("cast", 1, format(R"("type":"{}")", input));
        const auto z = f.block("memory", 1);
        const auto cast_z = f.block("cast", 1, format(R"("type":"{}")", state));
        const auto a = f.block("add", 2);
        const auto m = f.block("multiply", 2);
        const auto d = f.block("subtract", 2);
        const auto o = f.block("add", 2);
        f.link(one, cast_one);
        f.link(a, cast_z);
        f.link(cast_z, z);
        const auto join = [&f](std::uint64_t dst, std::uint64_t x, std::uint64_t y) {
            f.link(x, dst, 0);
            f.link(y, dst, 1);
        };
        join(a, cast_one, z);
        join(m, a, z);
        join(d, m, z);
        join(o, d, a);
    }
    return f.text(final_time(steps));
}

}  // namespace bench
