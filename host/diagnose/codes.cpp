#include "host/diagnose/codes.h"

#include <algorithm>
#include <array>

#include "core/format.h"
#include "host/diagnose/diagnose.h"

namespace zarn {
namespace {

// Z1: files and settings, Z2: structure, Z3: types, Z4: behaviour, Z5: names and generated code
constexpr std::array codes{
    code_t{"Z101", "file-unreadable", "The file cannot be read", "error",
           "The model file does not exist, is a folder, or may not be read.",
           "Name a file that exists and that you may read."},
    code_t{"Z102", "not-json", "The text is not JSON", "error",
           "The file is not one JSON value. Line and column tell where the reader gave up; the slip is there"
           " or a little before. A number beyond the range of a double counts as such a slip too.",
           "Mend the text at that place: a missing comma, a quote that is not closed, a comma before a "
           "closing bracket."},
    code_t{"Z103", "no-blocks", "The file holds no model", "warning",
           "A model is an object with the keys \"blocks\", \"links\" and \"model\". Without \"blocks\" a file loads "
           "as a model in which there is nothing to run.",
           "Write \"blocks\", if only as an empty array."},
    code_t{"Z104", "bad-element", "An element of \"blocks\" is no block",
           "error; a warning in a referenced file, of which loading then stops there",
           "Each element of \"blocks\" is an object with one key, the class name, whose value is the object of"
           " the block.",
           "Write the element as {\"constant\": {\"name\": \"c\", \"id\": 101}}."},
    code_t{"Z105", "extra-keys", "An element of \"blocks\" has more than one key", "warning",
           "Only the first key of an element counts, in the order of the alphabet; what stands under the "
           "others is not read.",
           "Give each block an element of its own."},
    code_t{"Z106", "wrong-type", "A value has the wrong type",
           "error; a warning in a referenced file, of which loading then stops there",
           "The value of a key is not of the kind that the key needs: a text where a number belongs, null "
           "where a parameter belongs. The loader gives up on the whole file.",
           "Write a value of the kind that the message names."},
    code_t{"Z107", "number-cut", "A number does not fit its field", "warning",
           "Ids are integers of 64 bits, port indices of 16 bits, and a parameter that is written as a "
           "number is an integer of 32 bits: a fraction is cut off (2.9 is read as 2), and a number that is "
           "too large loses bits.",
           "Write a parameter with a fraction as a text: \"2.9\"."},
    code_t{"Z108", "unknown-class", "There is no such block class",
           "error; a warning in a referenced file, where the block is passed over",
           "The key of an element of \"blocks\" is no class name. Class names are told apart by case.",
           "Write one of the names that 'zarn blocks' lists."},
    code_t{"Z109", "unknown-key", "A key means nothing",
           "warning when a key like it, or one that is meant by it, is missing; else a note",
           "Nobody reads the key, and what stands under it is lost. Either it is a slip, or a name from elsewhere "
           "(\"gain\" is \"coeffA\" here, \"value\" is \"expression\", \"dt\" is \"ts\"), or an editor has left it for "
           "itself.",
           "Write the key that the message names, or take it out."},
    code_t{"Z110", "reference-unreadable", "A reference leads nowhere",
           "warning; an error when links need what it should bring",
           "The file that a refsys block names cannot be read, is not JSON or has no \"blocks\". The loader "
           "goes on, and the refsys stays empty.",
           "Name a model file in \"path\", relative to the folder of the model."},
    code_t{"Z111", "reference-nested", "A reference inside a referenced file is not read",
           "warning; an error when links need what it should bring",
           "References are one level deep: a refsys block of a referenced file stays empty.",
           "Refer to that file from the main file."},
    code_t{"Z112", "reference-circular", "A reference leads back to its own file", "warning",
           "The file is read once more, as a copy inside the refsys, and the references in that copy are not"
           " read. Nothing runs away, but hardly anyone means this.",
           "Move what both need into a file of its own, and refer to that."},
    code_t{"Z113", "renumbered-text", "The ids of a referenced file are not told apart from other text",
           "warning; an error when the exchange breaks the file",
           "Each time a file is referenced, the loader exchanges the ids of its blocks for fresh ones. It "
           "does so in the text of the file: an id whose digits stand in another number, a name, or an "
           "expression is exchanged there too, and short ids turn up inside the fresh ids of others.",
           "Give the blocks of files that are referenced ids of 16 digits."},
    code_t{"Z114", "duplicate-id", "Two blocks have one id", "error when the second needs links; else a warning",
           "All links with this id lead to the first block that has it. A block without an \"id\" has the id "
           "0, which is that of the root.",
           "Give every block an id of its own, above 0."},
    code_t{"Z115", "absurd-count", "A block has an absurd number of inputs",
           "error; a warning in a referenced file, of which loading then stops there",
           "The \"inportCount\" is negative or beyond a million, or all blocks together have more inputs than "
           "memory holds.",
           "Write the number of inputs that the block has, at most 8."},
    code_t{"Z116", "bad-step", "The time step is not above 0", "error",
           "A run adds \"ts\" to the time after each step.", "Write a step in seconds, above 0."},
    code_t{"Z117", "bad-interval", "The start does not come before the end", "error",
           "\"ti\" must be below \"tf\". A key that is left out has its default: 0.0 and 10.0.",
           "Write an end behind the start."},
    code_t{"Z118", "time-stands-still", "The step does not move the time on", "error",
           "The time is a double. Where it is so large, in either direction, that adding the step gives the "
           "same number again, a run never ends.",
           "Choose a longer step, or times nearer to 0."},
    code_t{"Z119", "many-steps", "A run takes very many steps",
           "error where it cannot end or its samples cannot be kept; else a warning",
           "The number of steps is (tf - ti) / ts. Every to_workspace block keeps two numbers of each.",
           "Choose a longer step or an earlier end."},
    code_t{"Z120", "one-step", "The step is longer than the run", "note",
           "A run has its first step at the start and, with this step, no other.",
           "Choose a shorter step if more are meant."},
    code_t{"Z121", "too-large", "The model takes more than it may", "error",
           "Before anything is made of the files, it is worked out what they will take: the memory of the "
           "machine, the ports of all blocks, and the paths of blocks, which hold the names of all subsystems "
           "around them.",
           "Make the model smaller; shorten names, or nest less deeply."},
    code_t{"Z122", "link-end-missing", "A link leaves an end out",
           "warning; an error when an input stays without a source",
           "A link without \"srcId\" or \"dstId\" is read as one with the id 0, that of the root, and carries nothing.",
           "Write the ids of both blocks."},
    code_t{"Z123", "count-missing", "A block leaves out how many inputs it has", "error",
           "Blocks with a choice of inputs have as many as \"inportCount\" says, and none without it.",
           "Write \"inportCount\"."},
    code_t{"Z124", "last-step", "Rounding drops the last step", "note",
           "The time is a sum of steps. Where its rounding adds up to more than the end, the step at the end "
           "itself is not made: from 0 to 2 by 0.01 a run ends at 1.99.",
           "Write an end half a step later."},
    code_t{"Z125", "default-stands-in", "A default stands in for a parameter", "note",
           "The block has some of its parameters in the file, or is known by a word such as an operator, and "
           "what is missing has the default of its class.",
           "Write the parameter, if only for the reader."},
    code_t{"Z201", "input-without-source", "An input has no source", "error",
           "Every input of every block needs a link, but for that of an inport in the root. The compile ends"
           " with result_source_missing, without saying where.",
           "Link a source to the input. To bring a signal in from outside, use an inport in the root."},
    code_t{"Z202", "link-to-nothing", "A link has an end at no block",
           "error when an input stays without a source; else a warning",
           "The \"srcId\" or \"dstId\" of a link is the id of no block; such a link is passed over.",
           "Link to a block, or take the link out."},
    code_t{"Z203", "port-out-of-range", "A link has an end at a port that the block does not have",
           "error when an input stays without a source; else a warning",
           "Ports count from 0. Such a link is passed over.", "Link to a port that the block has."},
    code_t{"Z204", "inner-port-missing", "A link ends at a port of a subsystem that nothing inside stands for",
           "error when an input stays without a source; else a warning",
           "Port n of a subsystem is the inport or outport inside it whose \"portNumber\" is n; port -1 is its"
           " enable block.",
           "Add the block inside, or give one the number."},
    code_t{"Z205", "port-number-twice", "Two ports of a subsystem have one number",
           "error for inports, a warning for outports",
           "The first block with a number takes all links to it. A second inport gets no source, and a "
           "second outport is read by nothing. The number 2047 is that of a port that was given none.",
           "Give each inport, and each outport, of a subsystem a number of its own."},
    code_t{"Z206", "port-number-text", "A port number is written as text", "error when a link needs it; else a warning",
           "\"portNumber\" is a number, not an expression; a text never equals the number of a link.",
           "Write the number without quotes."},
    code_t{"Z207", "from-without-goto", "A from block has a target that no goto has",
           "error; a warning when its links lead nowhere", "Targets are compared letter by letter.",
           "Write the target of a goto, or add one."},
    code_t{"Z208", "goto-without-link", "No link leads into a goto", "error",
           "A goto needs a source, even when no from has its target.", "Link a source to it, or take it out."},
    code_t{"Z209", "goto-fed-twice", "Two links lead into a goto",
           "error; a warning when both come from one block, or the second from none",
           "Only the first link into a goto can be followed.", "Take one of the links out."},
    code_t{"Z210", "goto-wrong-way", "A link leads out of a goto or into a from", "error",
           "A signal enters at the goto and leaves at the from blocks with its target.",
           "Turn the link to the other block."},
    code_t{"Z211", "goto-twice", "Two goto blocks have one target", "error",
           "A from could not tell which of them it belongs to. An empty target counts as one.",
           "Give each goto a target of its own."},
    code_t{"Z212", "goto-unused", "A goto or from carries nothing", "warning for a goto, a note for a from",
           "No from has the goto's target, or nothing is linked to the from.", "Add the other end, or take it out."},
    code_t{"Z213", "input-fed-twice", "More than one link leads to an input",
           "warning; a note when all come from one output",
           "An input has one source: that of the last link. Links that lead through a goto or a cast come "
           "behind the others.",
           "Keep one of them; add the signals in a block if their sum is meant."},
    code_t{"Z214", "cast-chain", "Casts stand in a row", "error", "A cast directly behind a cast cannot be dissolved.",
           "Keep one of them, or put another block between them."},
    code_t{"Z215", "cast-without-source", "No link leads into a cast", "error", "A cast converts what is linked to it.",
           "Link a source to it, or take it out."},
    code_t{"Z216", "cast-unread", "No link leads out of a cast", "error",
           "A cast that nothing reads cannot be dissolved.", "Link a block behind it, or take it out."},
    code_t{"Z217", "algebraic-loop", "Blocks wait for each other within one step", "error",
           "Each block of the loop needs the value of the one before it in the same step. The library has no"
           " test for this, and its compile does not end. The finding lists the loop link by link, through "
           "the borders of subsystems and references.",
           "Put a memory block into the loop, at the link that the finding marks: it hands on the value of "
           "the step before."},
    code_t{"Z218", "parent-missing", "The parent of a block is no subsystem", "warning",
           "\"parent\" must be the id of a subsys or refsys, or 0 for the root. A block under anything else "
           "has no place in the workspace.",
           "Write the id of a subsystem, or 0."},
    code_t{"Z219", "parent-ring", "A subsystem lies inside itself", "warning",
           "The parents of some subsystems form a ring, so that none of them lies in the root.",
           "Write the id of the subsystem around it, or 0 for the root."},
    code_t{"Z220", "too-many-inputs", "A block has more than 8 inputs", "error",
           "The compile refuses blocks with more than 8 inputs, subsystems included.",
           "Split the block into several in a row."},
    code_t{"Z221", "no-links", "The model has no links", "warning", "Nothing flows in such a model.",
           "Link the blocks."},
    code_t{"Z222", "object-too-early", "A subsystem is listed before the one around it", "warning",
           "The workspace gets an object for each subsystem, in the order of the blocks, inside the object "
           "of the subsystem around it. One that comes too early finds no place, and the series of "
           "to_workspace blocks inside are lost. The blocks of a referenced file always come before their "
           "refsys.",
           "List outer subsystems first; record signals of a referenced file outside its inner subsystems."},
    code_t{"Z223", "cast-fed-twice", "Two links lead into a cast", "error; a warning when both come from one block",
           "Only the first link into a cast can be followed.", "Take one of the links out."},
    code_t{"Z224", "goto-ring", "A signal leads through goto and from in a ring", "error",
           "A from that feeds its own goto, directly or by way of others, has no source.",
           "Link a source to one of the gotos."},
    code_t{"Z301", "type-unresolved", "No type can be worked out", "error",
           "Types flow along links from blocks that know theirs: sources, casts, blocks with a fixed type. "
           "In this loop none does, as when a memory feeds itself through blocks that take over the type of "
           "their input.",
           "Put a cast into the loop."},
    code_t{"Z302", "type-standstill", "Types come to a standstill", "error",
           "Types are worked out in sweeps over the blocks. A sweep in which ports got types but no block "
           "got all of its own ends the compile, though a further sweep would have gone on.",
           "Put a cast into the loop that the block belongs to, or list the blocks in the order of the "
           "signal."},
    code_t{"Z303", "no-runnable-form", "A block cannot run with the types of its inputs", "error",
           "Each class runs with certain combinations of types only; relational and pow, for instance, need "
           "both inputs of one type, and a bound of clamp must not rank above its value. The compile does "
           "not notice; the block is simply missing in the run.",
           "Put a cast where the finding says."},
    code_t{"Z304", "no-runnable-count", "A block cannot run with that many inputs", "error",
           "add, subtract and multiply run with 2 or 3 inputs, logical with 2 to 8, relational with 2, "
           "switch with 3 to 8.",
           "Split it into several blocks in a row."},
    code_t{"Z305", "text-signal", "A signal is a text", "error",
           "No block runs on text: expressions must give numbers or True and False.", "Give the block a number."},
    code_t{"Z306", "cast-type", "A cast is to an unknown type", "warning",
           "A word that is no type is taken for flt64, without a message.", "Write one of the type names."},
    code_t{"Z401", "expression-refused", "An expression cannot be evaluated", "error",
           "The interpreter refused the text of a parameter.",
           "Give the workspace what it names (-w FILE.py, -e CODE), or mend the expression."},
    code_t{
        "Z402", "expression-not-evaluated", "An expression was not evaluated", "warning",
        "A check executes nothing unless it is told to, so it reads literal values only; three or more are told in one "
        "finding. What lies behind"
        " such a value, such as the type of a constant, is not checked.",
        "Check with --python, -w FILE.py or -e CODE."},
    code_t{"Z403", "random-range", "A random block has no range", "error when the range is 0, else a warning",
           "The range is the whole part of max - min + 1. Dividing by a range of 0 is a fault that ends the "
           "program; a negative one is taken for a huge one.",
           "Write a \"max\" that is not below \"min\"."},
    code_t{"Z404", "table-mismatch", "A table does not fit its breakpoints", "error",
           "lut1d needs \"bp1\" and \"out\" of one shape; in lut2d \"out\" has a row for each element of \"bp1\", of"
           " as many elements as \"bp2\" has.",
           "Write the missing elements."},
    code_t{"Z405", "breakpoints-not-rising", "Breakpoints do not rise", "warning",
           "Each breakpoint must be finite and above the one before it; between others the table gives numbers without "
           "meaning, or none.",
           "Sort the breakpoints, and the table with them."},
    code_t{"Z406", "squarewave-times", "A time of a squarewave is negative",
           "error when written as text; a warning as a number, which is not tested",
           "Off and on time are 0 or above; with 0 the signal changes at each step.",
           "Write times in seconds, 0 or above."},
    code_t{"Z407", "sinewave-frequency", "The frequency of a sinewave is not above 0",
           "error when written as text; a warning as a number, which is not tested",
           "A sine of frequency 0 is a constant.", "Write a frequency in hertz, above 0."},
    code_t{"Z408", "operator-unknown", "There is no such operator", "error",
           "logical knows and, or, nand, nor; relational knows eq, ne, lt, le, gt, ge.", "Write one of these words."},
    code_t{"Z409", "never-runs", "A block in a gated subsystem never runs", "warning",
           "At the head of each step the flag of an enable block is false, until the enable block has had "
           "its turn. A block that stands before it in the order of stepping is therefore never stepped: a "
           "source or a memory inside the subsystem, which has zone 0, or a block fed by such alone. 'zarn "
           "explain' shows the order.",
           "Move sources and memory blocks out of the subsystem, and bring their signals in through an "
           "inport."},
    code_t{"Z410", "enable-idle", "An enable block gates nothing", "warning",
           "It stands in the root, or in a subsystem that has one already, or alone.", "Take it out, or move it."},
    code_t{"Z411", "division-fault", "A division can end the program", "note; an error when it must",
           "Dividing the lowest int32 or int64 by -1 is a fault of the processor, for divide and for mod. "
           "Nothing guards it. A divisor of 0 gives 0 and is no fault.",
           "Use a float type, or keep -1 away from the divisor."},
    code_t{"Z412", "series-missing", "A series is not in the workspace", "error",
           "The expression of a from_workspace block gives no series.",
           "Make the series in the workspace (-w FILE.py)."},
    code_t{"Z413", "table-too-short", "A table has a single breakpoint", "warning",
           "lut2d interpolates between two breakpoints on each axis.", "Write at least two breakpoints."},
    code_t{"Z414", "text-among-numbers", "A text is not evaluated because another parameter is a number", "warning",
           "In step, sinewave, squarewave, random, debounce and hysteresis the first parameter decides for "
           "all: if it is written as a number, the others are read as numbers too.",
           "Write all parameters of the block as texts."},
    code_t{"Z415", "seed-zero", "A random block has the seed 0", "warning",
           "The generator stays at 0, and the output at \"min\".", "Write another seed."},
    code_t{"Z416", "empty-field", "An unpack block takes out nothing", "warning",
           "No bit lies between lsb and msb. An msb of 31 gives an empty mask.",
           "Choose lsb not above msb, and msb at most 30."},
    code_t{
        "Z417", "memory-row", "A memory is fed by a memory", "note",
        "All memory blocks have zone 0. Which of two is stepped first comes of the order of the file: the second one "
        "reads what the first has just put out, and delays nothing, or what it put out in the step before.",
        "Put another block between them: then each delays by a step."},
    code_t{"Z421", "third-input", "A subtract block has three inputs", "note",
           "The second difference is taken first: input 0 - (input 1 - input 2), which is input 0 - input 1 + "
           "input 2.",
           "Put two blocks in a row where both are to be taken off."},
    code_t{"Z422", "quotient-cut", "A quotient is cut to 0", "note",
           "In an expression // leaves the whole part of a quotient, and 1 // 2 is 0.",
           "Write / where the fraction counts."},
    code_t{"Z423", "text-for-number", "A text stands where a number belongs", "warning",
           "The expression gives a text. The block works with numbers, and takes the text for the one that it "
           "begins with, or for 0.",
           "Write an expression that gives a number."},
    code_t{"Z501", "no-identifier", "A name is no identifier in generated code",
           "warning; a note for letters beyond ASCII",
           "Generated C and Python use the block's name, with its id behind it, as the name of a variable, "
           "and print it in texts. Any other character breaks that code or makes the name a part of it.",
           "Use letters, digits and _, with no digit first."},
    code_t{"Z502", "same-path", "Two blocks have one path",
           "note; a warning for subsystems, which share one object in the workspace",
           "Names become identifiers in paths: every other character is a _ there.",
           "Give each block of a subsystem a name of its own."},
    code_t{"Z503", "no-name", "A block has no name", "note; a warning for a block that the workspace holds",
           "It is called \"_\" in paths.", "Give it a name."},
    code_t{"Z504", "series-name", "Two objects of the workspace have one name", "warning",
           "The series of a to_workspace block takes the place of another series, of a subsystem's object, "
           "or of a setting of the model.",
           "Give the block a name of its own."},
    code_t{"Z901", "disagreement", "The library refuses a model that these checks pass", "error",
           "No check found an error, and yet the library did not load, compile or build the model. This is a"
           " fault of the checks; please report it with the model.",
           "Look at the result that the finding names."},
};
static_assert(std::ranges::is_sorted(codes, {}, &code_t::code));

}  // namespace

std::span<const code_t> all_codes() noexcept { return codes; }

const code_t* find_code(std::string_view code) noexcept {
    const auto found = std::ranges::lower_bound(codes, code, {}, &code_t::code);
    return found != codes.end() && found->code == code ? &*found : nullptr;
}

std::string explain_code(const std::string& code, bool markdown) {
    const code_t* entry = find_code(code);
    if (entry == nullptr) return {};
    if (!markdown)
        return tessel::format("{} {}: {}\n\n{}\n\nSeverity: {}.\nMend: {}\n", entry->code, entry->name, entry->title,
                              entry->meaning, entry->weight, entry->mend);
    return tessel::format("### {} {}\n\n`{}`; {}.\n\n{}\n\nMend: {}\n", entry->code, entry->title, entry->name,
                          entry->weight, entry->meaning, entry->mend);
}

std::string all_codes_markdown() {
    constexpr const char* groups[] = {"Files and settings",       "Structure", "Types", "Behaviour",
                                      "Names and generated code", "",          "",      "",
                                      "The checks themselves"};
    std::string text =
        "# What `zarn check` finds\n\n"
        "Made from the table of codes by `zarn check --explain all --markdown`; do not edit.\n\n"
        "An **error** is what makes load, compile, the making of the runnable model, or the run fail, hang, exhaust\n"
        "memory or crash, or leaves a block without a runnable form: `zarn run` and `zarn generate` refuse such a\n"
        "model. A **warning** works, but most likely not as meant. A **note** is worth knowing.\n";
    char group = '\0';
    for (const code_t& entry : codes) {
        if (entry.code[1] != group) {
            group = entry.code[1];
            text += tessel::format("\n## {}\n", groups[group - '1']);
        }
        text.append("\n").append(explain_code(std::string(entry.code), true));
    }
    return text;
}

}  // namespace zarn
