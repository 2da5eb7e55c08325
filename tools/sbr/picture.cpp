// sbr picture: one picture of a body, as a PNG file. File managers make their small pictures of records with it.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>

#include "commandline.h"
#include "modefacts.h"
#include "output.h"
#include "sheetpicture.h"

namespace sbrtool {
namespace {

// A picture takes seven bytes for each of its points while it is drawn.
constexpr int kLeastPixels = 16;
constexpr int kMostPixels = 8192;

struct PictureOptions {
  std::string file;
  std::string output;
  std::optional<int> mode;
  bool at_rest = false;
  int width = 960;
  int height = 0;  // three quarters of the width
};

// The mode that is drawn: the chosen one, else the first elastic one; none for a body without elastic modes.
std::vector<double> shape_to_draw(SBR body, const PictureOptions &options, const Geometry &geometry) {
  if (options.at_rest) return {};
  const std::vector<int> places = nodes_of_kind(body, geometry, 0);
  const std::vector<ModeFacts> modes = facts_of_modes(body);
  const std::size_t first = first_elastic_mode(body);
  int number = 0;
  if (options.mode) {
    number = *options.mode;
    if (places.empty() || std::none_of(modes.begin(), modes.end(), [&](const auto &m) { return m.number == number; }))
      throw Failure(kUsage, options.file + ": has no mode " + std::to_string(number) + "; 'sbr modes' lists them");
  } else if (places.empty() || first >= modes.size()) {
    return {};
  } else {
    number = modes[first].number;
  }
  return part_of_mode(body, number, 0, 0, places, geometry.nodes());
}

void make_picture(const PictureOptions &options) {
  require_other_file(options.file, options.output, "record");
  const Body body = open_record(options.file);
  const Geometry geometry = geometry_of(body.get());
  const int height = options.height > 0 ? options.height : std::max(options.width * 3 / 4, kLeastPixels);
  const std::string png = picture_of(geometry, shape_to_draw(body.get(), options, geometry), options.width, height);
  OutputFile file(options.output);
  if (std::fwrite(png.data(), 1, png.size(), file.stream()) != png.size())
    throw Failure(kFailed, options.output + ": cannot be written: " + std::strerror(errno));
  file.commit();
}

}  // namespace

void add_picture_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  const auto options = std::make_shared<PictureOptions>();
  CLI::App *command = app.add_subcommand("picture", "Draw a mode of a record as a PNG picture");
  command->add_option("FILE", options->file, "The record")->required();
  command->add_option("-o,--output", options->output, "The picture")->required()->type_name("PNG");
  CLI::Option *mode =
      command->add_option("--mode", options->mode, "The number of the mode; the first elastic one")->type_name("N");
  command->add_flag("--at-rest", options->at_rest, "Draw the body without a mode")->excludes(mode);
  const CLI::Range pixels(kLeastPixels, kMostPixels);
  command->add_option("--width", options->width, "Points across; 960")->check(pixels)->type_name("N");
  command->add_option("--height", options->height, "Points down; three quarters of the width")
      ->check(pixels)
      ->type_name("N");
  command->callback([options] { make_picture(*options); });
}

}  // namespace sbrtool
