# What doxygen reads in place of a header, line for line, so that the headers need not be written
# for it:
#
# - what a class leaves to the compiler, and the constructors that it takes over from its base, go;
#   the main page says what they do;
# - the comment above a declaration speaks for its overloads and its setter right below too, and
#   that above a constant for the constants below;
# - a constant is not mistaken for a function;
# - a class shows the base that its mixin is put before, and bases without their arguments, each
#   combination of which would otherwise be a class of its own.
use strict;
use warnings;

undef $/;
my $text = <>;
$text =~ s|public\ (Kr(?:Tagged)?Element)(<[^;{]*?,\s*(\w+)(?:<[\w:]+>)?,\s*[\w:]+>)(?=\s*\{)
          |"public $1, public $3" . "\n" x ($2 =~ tr/\n//)|gex;

$text =~ s/^(KrToken const \w+)(\(.*\));$/$1 = KrToken$2;/gm;

my ($comment, $name) = ('', '');    # of the declaration that was documented last
my $commented = 0;                  # whether the line above is a comment
for my $line (split /(?<=\n)/, $text) {
    if ($line =~ m{^\s*///\s?(.*)}) {
        $comment   = $commented ? "$comment $1" : $1;
        $commented = 1;
        print $line;
        next;
    }
    if ($line =~ /^\s*$/) {
        $name = '';
    }
    elsif (!$commented && $line =~ /= (?:default|delete);$|^\s*using (?:\w+::)*(\w+)::\1;$/) {
        $line = "\n";
    }
    elsif ($line =~ /^(extern)\b|(operator\W+|\w+)\(/) {
        my $found = $1 // $2;
        if ($commented) {
            $name = $found;
        }
        elsif ($name && ($found eq $name || $found eq 'set' . ucfirst $name)) {
            $line = "/** $comment */ $line";
        }
    }
    print $line;
    $commented = 0;
}
