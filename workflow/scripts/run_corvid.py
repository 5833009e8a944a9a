"""One Corvid job of the workflow: runs Corvid on one input into its own folder.

mzML/mzXML inputs are extracted into a scratch folder inside the job's output folder (the input
folder may be read-only) and the extracted text is removed afterwards; the extraction summary
that maps scans to native ids stays with the results. An MS1/MS2 pair is linked into a staging
folder with a completion marker, since Corvid takes pairs by folder.
"""
import os
import shlex
import shutil
import subprocess
import sys

job = snakemake  # noqa: F821 (provided by Snakemake)
source = os.path.abspath(job.input[0])
output = os.path.abspath(job.output[0])
os.makedirs(output, exist_ok=True)
scratch = os.path.join(output, "extract")

command = [job.params.corvid]
if source.lower().endswith(".ms1"):
    os.makedirs(scratch, exist_ok=True)
    stem = os.path.splitext(os.path.basename(source))[0]
    os.symlink(source, os.path.join(scratch, stem + ".ms1"))
    os.symlink(os.path.abspath(job.input[1]), os.path.join(scratch, stem + ".ms2"))
    open(os.path.join(scratch, stem + ".quarry"), "w").close()
    command += ["-D", scratch + os.sep, "-F", "ms1"]
else:
    command += ["-D", source, f"--extract_path={scratch}"]
command += [f"--outputpath={output}", f"--logfilepath={output}", "--strict_exit=1"]
command += shlex.split(job.params.settings)

with open(job.log[0], "w") as console:
    console.write(" ".join(shlex.quote(part) for part in command) + "\n")
    console.flush()
    status = subprocess.call(command, stdout=console, stderr=subprocess.STDOUT, cwd=output)
shutil.rmtree(scratch, ignore_errors=True)
if status != 0:
    sys.exit(f"corvid ended with status {status} on {source}: see {job.log[0]}")
