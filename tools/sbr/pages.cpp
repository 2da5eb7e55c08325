// What the commands' definitions do not say: explanations, and lines to try.
#include "blocknames.h"
#include "commandtext.h"
#include "registry/importers.h"

namespace sbrtool {
namespace {

const std::vector<Page> &pages() {
  static const std::vector<Page> kPages = {
      {"",
       "A Shape Body Record (.sbr) carries one flexible body out of a finite-element analysis into a multibody solver. "
       "Results go to standard output, messages to standard error, each with its severity in front. --json prints a "
       "result for programs; numbers that are not finite become null.\n"
       "\n"
       "A file that is written appears when it is whole; a command that fails leaves what was there.\n"
       "\n"
       "Exit codes: 0 done, 1 findings or differences, 2 wrong usage, 3 unreadable input, 4 failed operation.",
       {{"sbr info body.sbr", "What the record holds, at a glance."},
        {"sbr import ccx rod.inp -o rod.sbr --units mm-t-s-N", "A record from finite-element results."},
        {"sbr check *.sbr", "Whether records are sound."},
        {"sbr help import ccx", "All that a command can do."}}},
      {"info",
       "Format, units, texts, counts, mass, extent, frequency range, and the blocks with their offsets and sizes. Of "
       "several records there is a table, and the exit code is that of the worst.",
       {{"sbr info body.sbr --json", "The same for programs."}, {"sbr info *.sbr", "A line for each record."}}},
      {"modes",
       "Frequencies are signed: a negative eigenvalue, as rounding gives rigid-body modes, has a negative frequency.\n"
       "\n"
       "--plot draws within the width of the terminal (or COLUMNS), with block characters where the locale says UTF-8 "
       "and "
       "the terminal is not a dumb one, else with number signs.",
       {{"sbr modes body.sbr", "The modes and their frequencies."},
        {"sbr modes body.sbr --plot", "As bars, with the largest displacement and stress of each mode."}}},
      {"mode",
       "Shapes have three translations and three rotations per node, stress and strain xx, yy, zz, xy, xz, yz.",
       {{"sbr mode body.sbr 7 --node 12", "Mode 7 at node 12."},
        {"sbr mode body.sbr 7 --kind stress --node 12,13 --json", "Its stress at two nodes, for programs."},
        {"sbr mode body.sbr 0 --kind stress", "The pre-stress."}}},
      {"nodes", "", {{"sbr nodes body.sbr --id 12,13", "Coordinates and masses of two nodes."}}},
      {"mass",
       "The figures come from the inertia invariants in the record, else from the nodal masses, else from the global "
       "properties; the command says from which.",
       {{"sbr mass body.sbr", "Mass, center of mass and principal axes."}}},
      {"faces", "", {{"sbr faces body.sbr", "Whether the surface is closed, and where it is not."}}},
      {"report",
       "The blocks, by the numbers that the report knows them by:\n" + block_list(),
       {{"sbr report body.sbr 7 29", "The eigenvalues and the modal strain."},
        {"sbr report body.sbr", "All blocks that exist."}}},
      {"write",
       "The flags become the text of the environment variable KTX_SBRWRITE_OPTIONS; what the variable holds already "
       "stays in front.",
       {{"sbr write body.sbr small.sbr --single --lowpass 2000 --invariants full",
         "Single precision, modes up to 2000 Hz, all inertia invariants."},
        {"sbr write body.sbr old.sbr --layout 82", "A record for an old solver."}}},
      {"transform",
       "The steps are done in the order in which they are given; a step may be given several times.",
       {{"sbr transform body.sbr turned.sbr --rotate 0,0,1,90 --translate 100,0,0",
         "First turned about the z axis, then moved along x."},
        {"sbr transform left.sbr right.sbr --mirror 0,1,0 --renumber 10000", "The other side of a vehicle."}}},
      {"reduce",
       "Inner faces go, or --sketch replaces the faces, then --coarsen is applied. The inertia invariants are computed "
       "and stored, then the nodes that nothing refers to go with their mode data: mass, center and inertia stay those "
       "of the whole body.",
       {{"sbr reduce body.sbr small.sbr", "The surface, and the nodes that it needs."},
        {"sbr reduce body.sbr small.sbr --coarsen 0.02,10 --single",
         "Also flat faces fused: edges shorter than 2 % of the extent, angles up to 10 degrees."}}},
      {"units", "", {{"sbr units body.sbr si.sbr --to SI", "Kilogram, meter, second, newton."}}},
      {"check",
       "Findings are errors, warnings or notes, each with its figure, the node, face or mode where it is worst, and "
       "its "
       "meaning. An error ends with 1; so does a warning with --strict. Notes are figures to look at. Of several "
       "records "
       "there is a table, and the exit code is that of the worst.\n"
       "\n"
       "Where the writer has dropped nodes, the invariants and the global properties hold the mass of the whole body, "
       "and the nodes hold less. Such a record is sound when these two agree.",
       {{"sbr check body.sbr", "All findings of one record."},
        {"sbr check --strict *.sbr", "A table; warnings count too."}}},
      {"diff",
       "Nodes are matched by ID, modes by their shapes: a mode may have another place, another sign, and rigid-body "
       "modes another mixture. Every block has a floor, relative to the largest value of its kind, below which "
       "differences are noise. Encoding, layout, precision and the date alone are no difference. Ends with 1 when the "
       "records differ, and names the worst places.",
       {{"sbr diff old.sbr new.sbr", "Whether two runs of a model gave the same body."},
        {"sbr diff a.sbr b.sbr --rtol 1e-3 --json", "With another tolerance, for programs."},
        {"sbr diff a.sbr b.sbr --exact", "Value by value, modes by their place."}}},
      {"export",
       "Tables: nodes, faces, interface nodes, modes, shapes, stress, strain, generalized matrices, inertia invariants "
       "and "
       "loads become a table each, with the unit of every column: nodes.csv, shapes.npz and the like. The columns of a "
       "table are the same in all formats. Rows of shapes and stress go mode by mode, node by node. In Python: "
       "numpy.load(\"DIR/shapes.npz\")[\"shapes\"][\"dx\"], and [\"units\"] for the units of the columns.\n"
       "\n"
       "Pictures: all nodes and faces in the units of the record, which every file tells; nodes without a face are "
       "points. "
       "--vtu has each mode as fields (shape_7, rotation_7, stress_7, von_mises_7, strain_7), without a number where a "
       "node "
       "has no stress. --exodus has each mode as a step, with the number of the mode as its time. --glb scales to "
       "meters, "
       "turns z upwards, and moves each mode by a tenth of the extent; single precision. --stl has triangles and --obj "
       "polygons, both of the body at rest. A node whose place is no number is refused.",
       {{"sbr export body.sbr --csv tables", "Comma-separated values; the units stand in the first line."},
        {"sbr export body.sbr --npz arrays --json tables", "Two formats at once."},
        {"sbr export body.sbr --vtu body.vtu --exodus body.exo", "For ParaView: fields to look at, steps to animate."},
        {"sbr export body.sbr --glb body.glb", "For Blender, browsers and office programs."}}},
      {"picture",
       "Draws the body by itself, without a browser or a screen: seen askew from above, its longest side across, "
       "coloured by the length of the displacement, before the body at rest in grey. The largest displacement is drawn "
       "as a tenth of the extent. A body without elastic modes is drawn at rest.",
       {{"sbr picture body.sbr -o body.png", "The first elastic mode."},
        {"sbr picture body.sbr -o mode9.png --mode 9 --width 1920", "Mode 9, 1920 points across."}}},
      {"sheet",
       "Header, units, mass properties, modes, frequencies, modal effective mass, auto-MAC, findings of 'sbr check', "
       "pictures of the first elastic modes, and the live view of 'sbr view', in one file without any reference to "
       "another. "
       "With --compare: the differences of two records, their modes matched by shape, and the cross-MAC.\n"
       "\n"
       "A name that ends with .pdf gives a PDF, without the live view; it is made by Chromium, which the variable "
       "CHROMIUM "
       "names where it does not stand on the path.",
       {{"sbr sheet body.sbr -o body.html", "A page to be filed."},
        {"sbr sheet body.sbr -o body.pdf", "The same on paper."},
        {"sbr sheet --compare old.sbr new.sbr -o change.html", "What has changed from one run to the next."}}},
      {"view",
       "Makes one HTML page that needs no other file and no network, and opens it in the browser: that which the "
       "environment variable BROWSER names, else the one of the desktop. The page shows the outer faces, moving in a "
       "mode, in several by sliders, or in a time history of modal coordinates from a table; colors by displacement, "
       "rotation, stress or strain; nodes with their figures. The question mark in the page lists its keys.\n"
       "\n"
       "A surface of more nodes than --max-nodes is coarsened for display, and the page says so; so it does when "
       "values "
       "are no numbers or modes are left out. The record is not touched.\n"
       "\n"
       "With two records, the modes of the second are matched with those of the first by shape, and both move under "
       "one "
       "camera.",
       {{"sbr view body.sbr", "Make body.html and open it."},
        {"sbr view body.sbr -o body.html --no-open", "The page alone, to send or to keep."},
        {"sbr view old.sbr new.sbr", "Two records side by side."}}},
      {"import",
       "Masses are lumped at the nodes and corrected so that mass, center and inertia are those of the mesh; shapes, "
       "stress and strain are taken over from the results.",
       {{"sbr import ccx rod.inp -o rod.sbr --units mm-t-s-N --interface LEFT,RIGHT",
         "Deck and results of a CalculiX job, with two node sets as interfaces."}}},
      {"db",
       "The database library Qsrv_22_2 is looked for in KTX_USER_PLUGIN_DIR; without that variable the store that "
       "comes "
       "with sbr is taken. 'check' needs no library.",
       {}},
      {"db put",
       "",
       {{"sbr db put body.sbr plant.MASTER --qualifiers \"projno=1,version=2,selabel='wing, left'\"",
         "Store a body under its qualifiers."}}},
      {"db list", "", {{"sbr db list plant.MASTER", "The bodies by their numbers."}}},
      {"db check", "", {{"sbr db check plant.MASTER", "Whether the file can be used here, by its header."}}},
      {"db repair", "", {{"sbr db repair plant.MASTER", "A new .MASTER file for bodies that have lost theirs."}}},
      {"db get", "", {{"sbr db get plant.MASTER 3 body.sbr", "The third body as a record."}}},
      {"help",
       "The manual pages and the completion scripts come from here too.",
       {{"sbr help import ccx", "The same as 'sbr import ccx --help'."},
        {"source <(sbr help --completion bash)", "Completion in this shell."},
        {"sbr help --man check | man -l -", "The manual page of a command."}}},
  };
  return kPages;
}

}  // namespace

Page page_of(const std::string &command) {
  for (const auto &importer : sbrtranslate::importers())
    if (command == "import " + importer.name) return {command, importer.details, importer.examples};
  for (const Page &page : pages())
    if (page.command == command) return page;
  return {command, "", {}};
}

}  // namespace sbrtool
