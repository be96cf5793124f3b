#include "nubo/cli/option.h"

#include <QFileInfo>
#include <algorithm>

#include "module_scene/gui/camera.h"
#include "nubo/cli/commandline.h"
#include "nubo/cli/namedcamera.h"
#include "nubo/cli/pointtext.h"

namespace nubo::app {

namespace {

const QString Orthographic = QStringLiteral("orthographic");
const QStringList OnOff{QStringLiteral("on"), QStringLiteral("off")};
const QStringList Projections{QStringLiteral("perspective"), Orthographic};

Option::Take flag(bool CommandLine::*target) {
  return [=](const QString&, CommandLine& line) {
    line.*target = true;
    return QString();
  };
}

Option::Take verbosity(Verbosity value) {
  return [=](const QString&, CommandLine& line) {
    line.verbosity = value;
    return QString();
  };
}

Option::Take text(QString CommandLine::*target, const QString& expected) {
  return [=](const QString& value, CommandLine& line) {
    line.*target = value;
    return value.isEmpty() ? expected : QString();
  };
}

Option::Take number(std::optional<int> CommandLine::*target, int least, int most) {
  return [=](const QString& value, CommandLine& line) {
    bool isWhole = false;
    const int number = value.toInt(&isWhole);
    line.*target = number;
    if (isWhole && number >= least && number <= most) return QString();
    return QStringLiteral("a whole number from %1 to %2").arg(least).arg(most);
  };
}

QString takeSize(const QString& value, CommandLine& line) {
  constexpr int Most = 32768;
  const QStringList parts = value.split('x', Qt::KeepEmptyParts, Qt::CaseInsensitive);
  bool wide = false, high = false;
  if (parts.size() == 2) line.size = QSize(parts[0].toInt(&wide), parts[1].toInt(&high));
  if (wide && high && line.size == line.size.expandedTo({1, 1}).boundedTo({Most, Most})) return QString();
  return QStringLiteral("WIDTHxHEIGHT, each from 1 to %1").arg(Most);
}

QString takeView(const QString& value, CommandLine& line) {
  line.view = value;
  if (value == AllViews || cameraName(value)) return QString();  // which cameras there are, only the scene tells
  return gui::Camera().setView(value) ? QString()
                                      : QStringLiteral("a view's name, AZIMUTH,ELEVATION, camera:NAME or all");
}

Option::Take point(std::optional<math::Vector3> CommandLine::*target) {
  return [=](const QString& value, CommandLine& line) {
    line.*target = pointOf(value);
    return line.*target ? QString() : QStringLiteral("three numbers, X,Y,Z");
  };
}

QString takeUp(const QString& value, CommandLine& line) {
  line.up = pointOf(value);
  return line.up && *line.up != math::Vector3{0, 0, 0} ? QString()
                                                       : QStringLiteral("a direction, X,Y,Z, of which one is not 0");
}

Option::Take real(std::optional<double> CommandLine::*target, double least, double most) {
  return [=](const QString& value, CommandLine& line) {
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    line.*target = number;
    if (isNumber && number >= least && number <= most) return QString();
    return QStringLiteral("a number from %1 to %2").arg(least).arg(most);
  };
}

QString takeProjection(const QString& value, CommandLine& line) {
  line.orthographic = value == Orthographic;
  return Projections.contains(value) ? QString() : Projections.join(" or ");
}

QString takeScale(const QString& value, CommandLine& line) {
  line.scale = drawingScale(value);
  line.orthographic = true;
  return line.scale ? QString() : QString::fromLatin1(DrawingScaleForms);
}

QString takeBackground(const QString& value, CommandLine& line) {
  const QStringList names = value.split(',');
  scene::Background background{QColor(names.last())};
  if (names.size() == 2) background.top = QColor(names.first());
  line.background = background;
  if (background.color.isValid() && background.top.isValid() == (names.size() == 2) && names.size() <= 2)
    return QString();
  line.background.reset();
  line.backgroundImage = value;
  return QFileInfo(value).isFile() ? QString() : QStringLiteral("a colour's name or #rrggbb, two of them, or a file");
}

Option::Take choice(std::optional<bool> CommandLine::*target) {
  return [=](const QString& value, CommandLine& line) {
    line.*target = value == OnOff.first();
    return OnOff.contains(value) ? QString() : OnOff.join(" or ");
  };
}

QString takeLook(const QString& value, CommandLine& line) {
  line.look = scene::lookNamed(value);
  return line.look ? QString() : scene::lookNames().join(" or ");
}

QString takeSection(const QString& value, CommandLine& line) {
  line.section = sectionPlace(value);
  return line.section ? QString() : QString::fromLatin1(SectionForms);
}

QString takeSteps(const QString& value, CommandLine& line) {
  const QStringList parts = value.split(':');
  bool first = false, last = false;
  if (parts.size() == 2) line.steps = {parts[0].toInt(&first), parts[1].toInt(&last)};
  if (first && last && line.steps->first >= 0 && line.steps->second >= line.steps->first) return QString();
  return QStringLiteral("FIRST:LAST, two numbers from 0 on with FIRST not above LAST");
}

QString takeFineness(const QString& value, CommandLine& line) {
  constexpr double Least = 0.1, Most = 20;
  bool isNumber = false;
  const double number = value.toDouble(&isNumber);
  line.fineness = number;
  if (isNumber && number >= Least && number <= Most) return QString();
  return QStringLiteral("a number from %1 to %2").arg(Least).arg(Most);
}

Option::Take seconds(std::optional<double> CommandLine::*target) {
  return [=](const QString& value, CommandLine& line) {
    constexpr double Most = 1e6;
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    line.*target = number;
    if (isNumber && number > 0 && number <= Most) return QString();
    return QStringLiteral("seconds above 0, up to %1").arg(int(Most));
  };
}

/// Settings are stored in a new file in the place of the old one, which is to be no pipe, device or directory. The
/// folders above a mistyped one would be made.
QString takeSettings(const QString& value, CommandLine& line) {
  line.settingsFile = value;
  if (value.isEmpty()) return QStringLiteral("a file name");
  const QFileInfo file(value);
  if (file.exists()) return file.isFile() ? QString() : QStringLiteral("an ordinary file, or a new one");
  const QString folder = file.absolutePath();
  return QFileInfo(folder).isDir() ? QString()
                                   : QStringLiteral("a file in a directory that exists, which %1 does not").arg(folder);
}

}  // namespace

const std::vector<Option>& options() {
  static const QStringList views = gui::Camera::viewNames();
  static const std::vector<Option> table = {
      {"size", "WxH", "Size of the scene panel in pixels; pictures take its aspect ratio (1280x720).", takeSize},
      {"view", "VIEW",
       "Direction of view: " + views.join(", ") +
           ", AZIMUTH,ELEVATION in degrees, or camera:NAME, which the scene has; all: one after the other, each into a "
           "file of its own, with {view} in its name.",
       takeView, views + QStringList(AllViews)},
      {"projection", "PROJECTION", "How depth is shown: perspective or orthographic (perspective).", takeProjection,
       Projections},
      {"scale",
       "PAPER:SCENE",
       "Makes a picture to scale, in parallel projection: 1:5 shows 5 m of the scene on 1 m of paper, at the picture's "
       "resolution (300 dpi). 1:5@mm is for a model whose numbers are millimetres.",
       takeScale,
       {"1:1", "1:2", "1:5", "1:10", "2:1"}},
      {"camera", "X,Y,Z", "Where the camera stands, in place of a direction of view.", point(&CommandLine::eye)},
      {"target", "X,Y,Z", "What the camera looks at (the model's middle).", point(&CommandLine::target)},
      {"up", "X,Y,Z", "The direction that points up in the view (0,0,1).", takeUp},
      {"roll", "DEGREES", "Turns the view clockwise.", real(&CommandLine::roll, -360, 360)},
      {"zoom", "FACTOR", "Moves the camera closer: at 2, the target is twice as large.",
       real(&CommandLine::zoom, 0.01, 1000)},
      {"camera-path", "FILE",
       "Moves the camera along the places of a CSV file: time in seconds, x, y, z of the camera, x, y, z of what it "
       "looks at.",
       text(&CommandLine::cameraPath, "a file name")},
      {"margin", "PERCENT", "Room left at each side of the view around the model (2.4).",
       real(&CommandLine::margin, 0, 45)},
      {"background", "BACKGROUND",
       "What shows behind the model: a colour (a name such as white, or #rrggbb), a gradient from one above to another "
       "(TOP,BOTTOM), or an image's file.",
       takeBackground, QColor::colorNames()},
      {"background-in-picture", "",
       "Has the background in pictures, too, which are transparent there otherwise if their format can be.",
       flag(&CommandLine::backgroundInPicture)},
      {"look", "LOOK",
       "How the scene is drawn: studio (physical materials and light), plain (the fastest), clay (one material), "
       "technical (black "
       "lines on white) "
       "(studio).",
       takeLook, scene::lookNames()},
      {"edges", "", "Draws creases and borders of surfaces as lines.", flag(&CommandLine::edges)},
      {"contact", "on|off", "Darkens what stands close to something else, in the looks studio and clay (on).",
       choice(&CommandLine::contact), OnOff},
      {"ground", "", "Draws a soft shadow on the ground, which is transparent.", flag(&CommandLine::ground)},
      {"section",
       "PLANE",
       "Cuts the scene open: x=0.3 takes away what lies beyond that place on the axis, -x=0.3 what lies before; x=50% "
       "is "
       "in the middle. Or through three points: X,Y,Z:X,Y,Z:X,Y,Z.",
       takeSection,
       {"x=50%", "y=50%", "z=50%", "-x=50%", "-y=50%", "-z=50%"}},
      {"environment", "FILE", "Lights the scene with a panorama (.hdr, or any picture) in place of the studio.",
       text(&CommandLine::environment, "a file name")},
      {"samples", "N",
       "Samples per pixel for smooth edges; 0 turns smoothing off (4). Thin drawn edges have 16 at least.",
       number(&CommandLine::samples, 0, 64)},
      {"turntable", "N", "Turns the scene once around in N steps (in ten seconds, where the scene has no animation).",
       number(&CommandLine::turntable, 1, 1000000)},
      {"animation", "NAME",
       "Plays this animation of the scene (all at once; of those that move the same elements the first).",
       text(&CommandLine::animation, "an animation's name")},
      {"variant", "NAME", "Uses the materials that a glTF file has under this name.",
       text(&CommandLine::variant, "a variant's name")},
      {"trajectory", "FILE",
       "Moves a marker along the points of a CSV file: x, y, z and a value of yours; or a robot, by a file whose "
       "heading names joints.",
       text(&CommandLine::trajectory, "a file name")},
      {"element", "NAME", "Moves this element of the scene along the points, in place of a marker.",
       text(&CommandLine::element, "an element's name")},
      {"steps", "FIRST:LAST", "Uses only these steps of the trajectory, counted from 0.", takeSteps},
      {"duration", "SECONDS", "Ends the command after this time.", seconds(&CommandLine::duration)},
      {"read-timeout", "SECONDS",
       "Gives a model up when its reader has got no further for so long (60), or has taken a tenth longer in all, and "
       "as "
       "long again for every 8 MB of its file.",
       seconds(&CommandLine::readTimeout)},
      {"fineness", "FACTOR", "How finely triangles follow the curved surfaces of CAD files (1).", takeFineness},
      {"settings",
       "FILE",
       "Uses this settings file instead of your own; stands before the command.",
       takeSettings,
       {},
       {},
       false,
       true},
      {"dry-run", "", "Tells what the command would make, after all checks, and makes nothing.",
       flag(&CommandLine::dryRun)},
      {"no-overwrite", "", "Refuses a command that would replace a file.", flag(&CommandLine::noOverwrite)},
      {"report", "FILE", "Writes what the run was made of, and how it ended, as JSON; - is standard output.",
       text(&CommandLine::reportFile, "a file name")},
      {"quiet", "", "Says nothing but why it failed.", verbosity(Verbosity::Quiet)},
      {"verbose", "", "Shows the whole log.", verbosity(Verbosity::Verbose)},
      {"help", "", "Shows this help; with a command, that command's parameters.", flag(&CommandLine::help), {}, "h"},
      {"version",
       "",
       "Shows the versions of the program and of what it is made of.",
       flag(&CommandLine::version),
       {},
       "v"},
      {"info", "", "Tells what is in the model files: format, counts, size, animations, cameras, joints, messages.",
       flag(&CommandLine::info)},
      {"json", "", "Tells it as a JSON list, an object for each file.", flag(&CommandLine::json)},
      {"list-commands", "", "Lists the commands.", flag(&CommandLine::listCommands)},
      {"manual", "", "Prints the manual page, with the commands that there are.", flag(&CommandLine::manual)},
      {"complete",
       "WORD...",
       "Prints how the last of the words may go on; shells ask for it.",
       [](const QString&, CommandLine& line) {
         line.complete = true;
         return QString();
       },
       {},
       {},
       true},
  };
  return table;
}

const Option* findOption(const QString& written) {
  const auto found = std::find_if(options().begin(), options().end(), [&](const Option& option) {
    return written == option.written() || (!option.letter.isEmpty() && written == QLatin1Char('-') + option.letter);
  });
  return found == options().end() ? nullptr : &*found;
}

QStringList optionWords() {
  QStringList words;
  for (const Option& option : options()) words << option.written();
  return words;
}

}  // namespace nubo::app
