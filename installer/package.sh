#!/usr/bin/env bash
# package.sh VERSION FILE_VERSION WXS MSI: builds the installer MSI of the programs in the current folder, whose version
# resources tell FILE_VERSION.
set -euo pipefail

version=$1 file_version=$2 source=$3 msi=$4
part=$msi.part
trap 'rm -f "$part"' EXIT
rm -f "$msi"
wixl -a x64 -D Version="$version" -o "$part" "$source"

# query SQL: changes the package.
query() { msibuild "$part" -q "$1"; }

# wixl takes every file for one without a version, which an installed one would always win against.
for file in JyFlvSource.dll flvinfo.exe flvthumb.exe flvlog.exe; do
    query "UPDATE \`File\` SET \`Version\` = '$file_version', \`Language\` = '1041' WHERE \`File\` = '$file'"
    query "DELETE FROM \`MsiFileHash\` WHERE \`File_\` = '$file'"
done

# The version itself is replaced as well: another build of it has another product code. wixl leaves the highest version
# of a range out.
from_lowest=256 to_highest=512
query "DELETE FROM \`Upgrade\` WHERE \`ActionProperty\` = 'REPLACED'"
query "INSERT INTO \`Upgrade\` (\`UpgradeCode\`, \`VersionMin\`, \`VersionMax\`, \`Attributes\`, \`ActionProperty\`)
       VALUES ('{68182A7A-8A0F-4FFD-8617-9C333419B596}', '0.0.0', '$version', $((from_lowest + to_highest)), 'REPLACED')"

# The types of actions that call a function of an installed library with the rights of the installer. What undoes another
# action runs when the installation fails.
library=17 deferred=1024 rollback=256 without_user=2048 ignoring_failure=64
act=$((library + deferred + without_user))

# add_action NAME TYPE FUNCTION
add_action() {
    query "INSERT INTO \`CustomAction\` (\`Action\`, \`Type\`, \`Source\`, \`Target\`)
           VALUES ('$1', $2, 'JyFlvSource.dll', '$3')"
}
add_action Register $act RegisterServerFromMsi
add_action UndoRegister $((act + rollback + ignoring_failure)) UnregisterServerFromMsi
# A module that is damaged or gone must not keep the product from being removed or replaced.
add_action Unregister $((act + ignoring_failure)) UnregisterServerFromMsi
add_action UndoUnregister $((act + rollback + ignoring_failure)) RegisterServerFromMsi

mv "$part" "$msi"
