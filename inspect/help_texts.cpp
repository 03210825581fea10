#include "inspect/help_texts.h"

namespace inspect {

// Scripts compare these texts: every byte stays, the odd ones too.

const char* const kShortHelp = R"(
vr_inspect is a utility that can be used to print information about
KX part files.  Include on the command line the list of
part files for which you want information:
        vr_inspect <part-filenames...>

You can also use vr_inspect to extract Brepsolid data from the part:
        vr_inspect -extract <part-file> [<BS-transmit-file>]
The Brepsolid data are extracted from the part file and inserted into
the file indicated by <BS-transmit-file>.  If no <BS-transmit-file>
is included on the command line, then vr_inspect will form a transmit
file name based on the part name, with a different extension.

To get a complete list of the vr_inspect command line switches:
        vr_inspect -help
)";

const char* const kLongUsage = R"(Usage: vr_inspect [<switches>] <filenames...>
        where <filenames> are KX part file names, and
              <switches>  are optional command line arguments which may be
                          one of the following:
               -help      prints this message
               -rm        prints Record Manager partition
               -cmod      prints CMOD partition
               -ess       prints the Expresssion partition
               -occ       prints the Occurrences partition
               -path      prints Path partitions
               -bs        prints Brepsolid partition(s)
               -full      prints all partitions
               -trace     prints tracing info as it reads the part
               -cookies   prints cookie and object id information
               -refs      prints most recent referenced part information
               -all_refs  prints all referenced part information
               -extref    prints External Reference Table
               -scan      scans for known part corruptions
               -check_checksums <part file>
                          Checks checksums on compressed Brepsolid data
               -compatibility
                          Prints information about compatibility of this part with KX maintenance releases
               -extract_all <part file> [<filename>]
               -extract_jt <part file>
                          Extracts JT data embedded in the part file.
                          Creates one file per faceted body.
               -extract <id> <part file> [<filename>]
                          Extracts Brepsolid transmit files - <id> is a
                          partition id number, <part file> is a part file name,
                          and <filename>, if specified, is the filename without
                          extension to use for generating output file names.
                          If omitted this is generated from the part file name.
                          Use -extract_all for pre-v12 part files.
               -extract_stream <stream-path> <filename>
                          Extracts a stream of data from the part file
                          stream-path is a / separated path to the stream
                          and <filename> is the filename to be created.
               -release   Just print release information about the part.
               -storages  Just print information about the storages in the part
               -feature_toggle_info <filename>
                          Just print information about the feature toggle information stored in the part
 )";

}  // namespace inspect
