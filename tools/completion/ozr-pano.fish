# Completion of ozr-pano for fish. Installed as share/fish/vendor_completions.d/ozr-pano.fish.
set -l sweeps demo stitch video
set -l formats 'nv12 nv21 yv12 yuy2 gray rgba'
complete -c ozr-pano -f
complete -c ozr-pano -s h -l help -d 'Show the options'
complete -c ozr-pano -n __fish_use_subcommand -l version -d 'Show the version'
complete -c ozr-pano -n __fish_use_subcommand -a demo -d 'Sweep a simulated camera across a painted scene'
complete -c ozr-pano -n __fish_use_subcommand -a stitch -d 'Stitch pictures that were taken by panning'
complete -c ozr-pano -n __fish_use_subcommand -a video -d 'Make a panorama of a panning video'
complete -c ozr-pano -n __fish_use_subcommand -a replay -d 'Repeat a recording'
complete -c ozr-pano -n __fish_use_subcommand -a convert -d 'Convert a picture or raw file'
set -l output "__fish_seen_subcommand_from $sweeps replay"
complete -c ozr-pano -n $output -s o -l output -r -F -d "The panorama's file"
complete -c ozr-pano -n $output -l report -r -F -d 'Also write a page that shows what was done'
complete -c ozr-pano -n $output -l no-metadata -d 'Leave camera, time, place and geometry out of a JPEG'
complete -c ozr-pano -n $output -l json -d 'Print the summary as JSON'
complete -c ozr-pano -n $output -l verbose -d "Show the library's log"
complete -c ozr-pano -n "$output convert" -l jpeg-quality -x -d 'Quality of a JPEG, 1 to 100'
set -l sweep "__fish_seen_subcommand_from $sweeps"
complete -c ozr-pano -n $sweep -l quality -x -a 'refined classic' -d 'How the pictures are joined'
complete -c ozr-pano -n $sweep -l compare -d 'Show both qualities side by side in the report'
complete -c ozr-pano -n $sweep -l strict -d 'Exit with 1 when a place is in doubt'
complete -c ozr-pano -n $sweep -l record -r -F -d 'Also record the calls into a new folder'
complete -c ozr-pano -n $sweep -s d -l direction -x -a 'right left down up auto' -d 'Where the camera pans'
complete -c ozr-pano -n '__fish_seen_subcommand_from stitch video' -l overlap -x -d 'Overlap in percent, 50 to 90'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -s n -l pictures -x -d 'How many pictures, 1 to 10'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo convert' -l size -x -d 'Size of the pictures, or of raw input'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -l preview -x -d 'Size of the preview frames'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -l seed -x -d 'Another scene and another hand'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -l focal -x -d 'Focal length, 0.6 to 2.2 times the usual one'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -l lens -x -d 'Radial distortion, -0.1 to 0.1'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -l tilt -x -d 'Across the sweep, -15 to 15 degrees'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -l exposure -x -d 'Differences of brightness in percent'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -l vignetting -x -d 'Light that the corners lose in percent'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -l shutter -x -d 'Rolling shutter in milliseconds'
complete -c ozr-pano -n '__fish_seen_subcommand_from demo' -l walkers -x -d 'People who walk through the scene'
complete -c ozr-pano -n '__fish_seen_subcommand_from convert' -l format -x -a $formats -d 'Pixel format of the result, if not by its name'
complete -c ozr-pano -n '__fish_seen_subcommand_from convert' -l from -x -a $formats -d 'Format of raw input'
complete -c ozr-pano -n '__fish_seen_subcommand_from convert' -l flip -d 'Mirror left to right'
complete -c ozr-pano -n '__fish_seen_subcommand_from convert' -l sample -x -d 'Keep every n-th pixel, as grey'
complete -c ozr-pano -n '__fish_seen_subcommand_from stitch video replay convert' -F
